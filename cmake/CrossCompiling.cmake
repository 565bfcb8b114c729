# What both toolchains for mingw have in common; they include it after they have set _sysroot
# (the folder of the compiler's own libraries and headers) and _runner, which runs programs here.

foreach(_kind EXE SHARED MODULE)
  # No DLL of the toolchain is needed beside a program, and the same input gives the same file.
  set(CMAKE_${_kind}_LINKER_FLAGS_INIT "-static -Wl,--no-insert-timestamp")
endforeach()

# Nothing of this machine may get into a program for another: libraries, headers and packages come
# from the compiler's own folder, or from the prefixes that the caller names.
set(CMAKE_FIND_ROOT_PATH "${_sysroot}" ${CMAKE_PREFIX_PATH} ${Cifra_ROOT})
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
  set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../scripts/${_runner}")
endif()
