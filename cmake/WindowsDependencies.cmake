# What the Windows build takes from the Linux machine it is made on. nlohmann-json is header-only:
# its headers are reached through a folder of their own, since adding /usr/include to a mingw
# build would bring glibc's headers in. GoogleTest builds from Debian's sources.
set(_host_include ${CMAKE_BINARY_DIR}/host-include)
if(NOT EXISTS ${_host_include}/nlohmann/json.hpp)
  if(NOT EXISTS /usr/include/nlohmann/json.hpp)
    message(FATAL_ERROR "nlohmann-json3-dev is missing (/usr/include/nlohmann)")
  endif()
  file(MAKE_DIRECTORY ${_host_include})
  file(CREATE_LINK /usr/include/nlohmann ${_host_include}/nlohmann SYMBOLIC)
endif()
add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED)
set_target_properties(nlohmann_json::nlohmann_json PROPERTIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES ${_host_include}
                                                             INTERFACE_INCLUDE_DIRECTORIES ${_host_include})

if(CORVELLE_TESTS)
  if(NOT EXISTS /usr/src/googletest/CMakeLists.txt)
    message(FATAL_ERROR "the googletest package is missing (/usr/src/googletest)")
  endif()
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endif()

# Windows 7 and later: the calls the Windows side makes.
add_compile_definitions(_WIN32_WINNT=0x0601 WINVER=0x0601 UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN)

# GCC 12's -Wrestrict misfires on std::string inlined at -O2 (GCC bug 105329) in this compiler.
add_compile_options(-Wno-restrict)

# Resources (the type library in Corvelle.dll) go through windres.
enable_language(RC)

# The workbook engine's libraries, built from Debian's sources (scripts/deps-windows.sh fetches
# them): pugixml as one file, libzip with zlib for Windows and without its optional codecs.
set(CORVELLE_WINDOWS_SOURCES ${CMAKE_SOURCE_DIR}/build/windows-sources CACHE PATH
    "Debian's sources of pugixml and libzip for the Windows build")
if(NOT EXISTS ${CORVELLE_WINDOWS_SOURCES}/pugixml/src/pugixml.cpp OR
   NOT EXISTS ${CORVELLE_WINDOWS_SOURCES}/libzip/CMakeLists.txt)
  message(FATAL_ERROR "the sources of pugixml and libzip are missing: run scripts/deps-windows.sh")
endif()
add_library(corvelle_pugixml STATIC ${CORVELLE_WINDOWS_SOURCES}/pugixml/src/pugixml.cpp)
target_include_directories(corvelle_pugixml SYSTEM PUBLIC ${CORVELLE_WINDOWS_SOURCES}/pugixml/src)
add_library(pugixml::pugixml ALIAS corvelle_pugixml)

set(BUILD_SHARED_LIBS OFF CACHE BOOL "" FORCE)
# zlib linked in, as everything else is.
set(ZLIB_INCLUDE_DIR /usr/x86_64-w64-mingw32/include CACHE PATH "" FORCE)
set(ZLIB_LIBRARY /usr/x86_64-w64-mingw32/lib/libz.a CACHE FILEPATH "" FORCE)
foreach(_off BUILD_TOOLS BUILD_REGRESS BUILD_EXAMPLES BUILD_DOC ENABLE_COMMONCRYPTO ENABLE_GNUTLS ENABLE_MBEDTLS
             ENABLE_OPENSSL ENABLE_WINDOWS_CRYPTO ENABLE_BZIP2 ENABLE_LZMA ENABLE_ZSTD)
  set(${_off} OFF CACHE BOOL "" FORCE)
endforeach()
add_subdirectory(${CORVELLE_WINDOWS_SOURCES}/libzip ${CMAKE_BINARY_DIR}/libzip EXCLUDE_FROM_ALL SYSTEM)
target_compile_definitions(zip PUBLIC ZIP_STATIC)
target_compile_options(zip PRIVATE -w)
add_library(PkgConfig::LIBZIP ALIAS zip)

# The files that ship beside the add-in, as the Linux build gathers them (its report templates
# are made by corvelle-template there); scripts/test-windows.sh has that build make them first.
set(CORVELLE_HOST_RESOURCES ${CMAKE_SOURCE_DIR}/build/default/resources CACHE PATH
    "The files that ship beside Corvelle.dll (build/default/resources of the Linux build)")
if(NOT EXISTS ${CORVELLE_HOST_RESOURCES}/Clickme.txt)
  message(WARNING "${CORVELLE_HOST_RESOURCES} is not made yet: the release folder and the scenarios "
                  "take resources/ as it stands, without the report templates")
  set(CORVELLE_HOST_RESOURCES ${CMAKE_SOURCE_DIR}/resources CACHE PATH "" FORCE)
endif()
