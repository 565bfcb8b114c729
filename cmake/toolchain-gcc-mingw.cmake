# GCC for Windows on x64, with the POSIX thread model, which the standard library's threads need.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_VERSION 10.0)
set(CMAKE_SYSTEM_PROCESSOR AMD64)

set(_triple x86_64-w64-mingw32)
# Without the suffix the name may stand for the other thread model.
find_program(CIFRA_GXX NAMES ${_triple}-g++-posix ${_triple}-g++ NO_CMAKE_FIND_ROOT_PATH)
find_program(CIFRA_GCC NAMES ${_triple}-gcc-posix ${_triple}-gcc NO_CMAKE_FIND_ROOT_PATH)
if(NOT CIFRA_GXX OR NOT CIFRA_GCC)
  message(FATAL_ERROR "No ${_triple}-g++; scripts/setup toolchain-gcc installs it")
endif()
set(CMAKE_C_COMPILER "${CIFRA_GCC}")
set(CMAKE_CXX_COMPILER "${CIFRA_GXX}")
set(CMAKE_RC_COMPILER ${_triple}-windres)

# This GCC's headers still aim at Windows 7 unless told otherwise.
set(CMAKE_C_FLAGS_INIT -D_WIN32_WINNT=0x0A00)
set(CMAKE_CXX_FLAGS_INIT -D_WIN32_WINNT=0x0A00)

set(_sysroot "/usr/${_triple}")
set(_runner run-x64)
include(${CMAKE_CURRENT_LIST_DIR}/CrossCompiling.cmake)
