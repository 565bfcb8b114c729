# cifra_hardening(TARGET): what the compiler and the linker offer against exploits of a defect, and
# that the same sources give the same files wherever they are built.

include(CheckCXXSourceCompiles)

# The guard is worth having only where the runtime library brings what the guarded code calls.
set(CMAKE_REQUIRED_FLAGS "-fstack-protector-strong")
check_cxx_source_compiles(
  "#include <cstring>
   int main(int argc, char** argv) { char text[64]; std::strcpy(text, argv[argc - 1]); return text[0]; }"
  CIFRA_HAS_STACK_PROTECTOR)
unset(CMAKE_REQUIRED_FLAGS)

# The linker writes the names of the toolchain's libraries into the PDB. Through a link in the build's
# folder, which is where Ninja runs it, they are the same wherever the toolchain is.
set(cifra_toolchain_options)
if(CIFRA_SYSROOT AND CMAKE_GENERATOR STREQUAL "Ninja")
  file(CREATE_LINK ${CIFRA_TOOLCHAIN} ${CMAKE_BINARY_DIR}/toolchain SYMBOLIC)
  set(cifra_toolchain_options --sysroot=toolchain/${CIFRA_SYSROOT}
                              -resource-dir=toolchain/${CIFRA_SYSROOT}/lib/clang/19)
endif()

function(cifra_hardening target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /GS /sdl /guard:cf)
    target_link_options(${target} PRIVATE /guard:cf /DYNAMICBASE /HIGHENTROPYVA /NXCOMPAT
                                             /DEPENDENTLOADFLAG:0x800)
    return()
  endif()

  if(CIFRA_HAS_STACK_PROTECTOR)
    target_compile_options(${target} PRIVATE -fstack-protector-strong)
    # Whoever links a guarded static library needs what the guard calls; a DLL has it in itself.
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "STATIC_LIBRARY")
      target_link_options(${target} PUBLIC -fstack-protector-strong)
    else()
      target_link_options(${target} PRIVATE -fstack-protector-strong)
    endif()
  endif()
  if(NOT WIN32)
    return()
  endif()

  target_compile_options(${target} PRIVATE
    -ffile-prefix-map=${PROJECT_BINARY_DIR}=build -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
  target_link_options(${target} PRIVATE
    -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--nxcompat)
  # Control Flow Guard: GCC has no such thing.
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(${target} PRIVATE -mguard=cf)
    target_link_options(${target} PRIVATE -mguard=cf)
    # The PDB: lines, the sources' hashes, and paths that are the same on every machine.
    target_compile_options(
      ${target} PRIVATE -g "SHELL:-Xclang -gsrc-hash=sha256" -fdebug-compilation-dir=.
                        -gno-codeview-command-line
                        -ffile-prefix-map=${CIFRA_TOOLCHAIN}/bin/..=toolchain)
    target_link_options(${target} PRIVATE -Wl,-Xlink=-pdbsourcepath:C:/Cifra
                                          ${cifra_toolchain_options})
    if(CMAKE_SYSTEM_PROCESSOR STREQUAL "AMD64")
      # May run with a shadow stack: whoever unwinds does so through the platform.
      target_link_options(${target} PRIVATE -Wl,-Xlink=-cetcompat)
    endif()
    # What a module imports is looked for in the system's folder alone. GNU's linker cannot set this.
    target_link_options(${target} PRIVATE -Wl,-Xlink=-dependentloadflag:0x800)
    if(CMAKE_SYSTEM_PROCESSOR STREQUAL "ARM64")
      # Return addresses signed with the B key, the only one that Windows supports.
      target_compile_options(${target} PRIVATE -mbranch-protection=pac-ret+b-key)
    endif()
  endif()
endfunction()
