# Cross-compiling for 64-bit Windows with Debian's mingw-w64 (the posix-thread compilers, which
# give std::thread and std::mutex). Programs are linked statically, so that they need no DLL of
# the compiler's beside them; tests and Windows programs run here through Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(_triple x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${_triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${_triple}-g++-posix)
set(CMAKE_RC_COMPILER ${_triple}-windres)
set(CORVELLE_WIDL ${_triple}-widl)

set(CMAKE_FIND_ROOT_PATH /usr/${_triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")

# Debian's 64-bit Wine; its launcher is not on the PATH without the wine package.
find_program(CORVELLE_WINE NAMES wine64 wine PATHS /usr/lib/wine NO_DEFAULT_PATH)
if(NOT CORVELLE_WINE)
  find_program(CORVELLE_WINE NAMES wine64 wine)
endif()
if(CORVELLE_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CORVELLE_WINE})
endif()
