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
