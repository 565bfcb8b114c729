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
foreach(_kind EXE SHARED MODULE)
  # No DLL of the toolchain is needed beside a program, and the same input gives the same file.
  set(CMAKE_${_kind}_LINKER_FLAGS_INIT "-static -Wl,--no-insert-timestamp")
endforeach()

# Nothing of this machine may get into a program for another: libraries, headers and packages come
# from the compiler's own folder, or from the prefixes that the caller names.
set(CMAKE_FIND_ROOT_PATH "/usr/${_triple}" ${CMAKE_PREFIX_PATH} ${Cifra_ROOT})
foreach(_variable CMAKE_PREFIX_PATH Cifra_ROOT)
  if(DEFINED ENV{${_variable}})
    cmake_path(CONVERT "$ENV{${_variable}}" TO_CMAKE_PATH_LIST _prefixes)
    list(APPEND CMAKE_FIND_ROOT_PATH ${_prefixes})
  endif()
endforeach()
if(NOT DEFINED CMAKE_FIND_ROOT_PATH_MODE_PROGRAM)
  set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
endif()
foreach(_kind LIBRARY INCLUDE PACKAGE)
  if(NOT DEFINED CMAKE_FIND_ROOT_PATH_MODE_${_kind})
    set(CMAKE_FIND_ROOT_PATH_MODE_${_kind} ONLY)
  endif()
endforeach()

if(NOT CMAKE_HOST_WIN32)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../scripts/run-x64")
endif()
