# Clang for Windows on ARM64 or x64; CIFRA_ARCH says which.
#
# The compiler is the one that scripts/setup built into the cache, or an installed llvm-mingw that
# CIFRA_LLVM_MINGW (a cache or environment variable) names.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_VERSION 10.0)

if(CIFRA_ARCH STREQUAL "arm64")
  set(CMAKE_SYSTEM_PROCESSOR ARM64)
  set(_triple aarch64-w64-mingw32)
elseif(CIFRA_ARCH STREQUAL "x64")
  set(CMAKE_SYSTEM_PROCESSOR AMD64)
  set(_triple x86_64-w64-mingw32)
else()
  message(FATAL_ERROR "CIFRA_ARCH must be arm64 or x64, not '${CIFRA_ARCH}'")
endif()

# The environment is read once; later configurations of the same build tree find the same compiler.
if(DEFINED ENV{CIFRA_LLVM_MINGW})
  set(CIFRA_LLVM_MINGW "$ENV{CIFRA_LLVM_MINGW}" CACHE PATH "An installed llvm-mingw")
endif()
if(CIFRA_LLVM_MINGW)
  set(CIFRA_TOOLCHAIN "${CIFRA_LLVM_MINGW}")
elseif(NOT CIFRA_TOOLCHAIN)
  include(${CMAKE_CURRENT_LIST_DIR}/CifraCache.cmake)
  set(CIFRA_TOOLCHAIN "${CIFRA_CACHE}/toolchain" CACHE PATH "What scripts/setup built")
endif()
if(NOT CIFRA_LLVM_MINGW)
  set(CIFRA_SYSROOT ${_triple})  # in CIFRA_TOOLCHAIN
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES CIFRA_ARCH CIFRA_LLVM_MINGW CIFRA_TOOLCHAIN)

set(_tool "${CIFRA_TOOLCHAIN}/bin/${_triple}-")
if(NOT EXISTS "${_tool}clang++")
  message(FATAL_ERROR "No ${_tool}clang++; scripts/setup toolchain-${CIFRA_ARCH} makes it")
endif()
set(CMAKE_C_COMPILER "${_tool}clang")
set(CMAKE_CXX_COMPILER "${_tool}clang++")
set(CMAKE_RC_COMPILER "${_tool}windres")
set(CMAKE_AR "${_tool}ar" CACHE FILEPATH "")
set(CMAKE_RANLIB "${_tool}ranlib" CACHE FILEPATH "")
set(CMAKE_NM "${_tool}nm" CACHE FILEPATH "")
set(CMAKE_OBJCOPY "${_tool}objcopy" CACHE FILEPATH "")
set(CMAKE_STRIP "${_tool}strip" CACHE FILEPATH "")
set(CMAKE_DLLTOOL "${_tool}dlltool" CACHE FILEPATH "")

# Debug information as Windows' own tools read it, in place of CMake's -g.
set(CMAKE_C_FLAGS_RELWITHDEBINFO "-O2 --start-no-unused-arguments -gcodeview --end-no-unused-arguments -DNDEBUG" CACHE STRING "")
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 --start-no-unused-arguments -gcodeview --end-no-unused-arguments -DNDEBUG" CACHE STRING "")
foreach(_kind EXE SHARED MODULE)
  # An empty name puts the PDB beside the program; the program names it without its folder.
  set(CMAKE_${_kind}_LINKER_FLAGS_RELWITHDEBINFO_INIT "-Wl,--pdb= -Wl,-Xlink=-pdbaltpath:%_PDB%")
endforeach()

set(_sysroot "${CIFRA_TOOLCHAIN}/${_triple}")
set(_runner run-${CIFRA_ARCH})
include(${CMAKE_CURRENT_LIST_DIR}/CrossCompiling.cmake)
