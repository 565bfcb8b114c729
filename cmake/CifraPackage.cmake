# The installed package: Cifra.dll with its import libraries and symbols, the client, the public
# headers, the examples, and what find_package(Cifra) and pkg-config need.
include(CMakePackageConfigHelpers)

set(CIFRA_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Cifra)
# A folder of its own: the headers' names are not all Cifra's.
set(CIFRA_HEADER_DIR ${CMAKE_INSTALL_INCLUDEDIR}/cifra)

# INCLUDES serves CMake before 3.23, which knows no file sets.
install(
  TARGETS Cifra cifra_headers
  EXPORT CifraTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  FILE_SET HEADERS DESTINATION ${CIFRA_HEADER_DIR}
  INCLUDES DESTINATION ${CIFRA_HEADER_DIR})
# The names by which the files are found differ in more than their case: on Windows' disks Cifra.pdb
# and cifra.pdb would be one file.
install(FILES $<TARGET_FILE_DIR:Cifra>/Cifra.pdb DESTINATION ${CMAKE_INSTALL_BINDIR} OPTIONAL)
if(TARGET cifra_client)
  install(TARGETS cifra_client RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES $<TARGET_FILE_DIR:cifra_client>/cifra-client.pdb
          DESTINATION ${CMAKE_INSTALL_BINDIR} OPTIONAL)
endif()

# Microsoft's linker wants an import library of its own form; Clang's tools make it too.
install(FILES ${PROJECT_SOURCE_DIR}/src/framework/Cifra.def DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(MINGW)
  find_program(CIFRA_LLVM_DLLTOOL NAMES llvm-dlltool-19 llvm-dlltool HINTS ${CIFRA_TOOLCHAIN}/bin
               NO_CMAKE_FIND_ROOT_PATH)
  if(CIFRA_LLVM_DLLTOOL)
    set(machine i386:x86-64)
    if(CMAKE_SYSTEM_PROCESSOR STREQUAL "ARM64")
      set(machine arm64)
    endif()
    set(microsoft_library ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/Cifra.lib)
    add_custom_command(
      OUTPUT ${microsoft_library}
      COMMAND ${CIFRA_LLVM_DLLTOOL} -m ${machine} -D Cifra.dll
              -d ${PROJECT_SOURCE_DIR}/src/framework/Cifra.def -l ${microsoft_library}
      DEPENDS ${PROJECT_SOURCE_DIR}/src/framework/Cifra.def
      VERBATIM)
    add_custom_target(cifra_microsoft_library ALL DEPENDS ${microsoft_library})
    install(FILES ${microsoft_library} DESTINATION ${CMAKE_INSTALL_LIBDIR})
  endif()
endif()

# Everything that is installed, and nothing of the tests.
add_custom_target(cifra_package DEPENDS Cifra log_example)
foreach(target cifra_client cifra_microsoft_library)
  if(TARGET ${target})
    add_dependencies(cifra_package ${target})
  endif()
endforeach()

# A log.dll is put beside Cifra.dll by whoever wants a log, so it is not installed there.
install(TARGETS log_example LIBRARY DESTINATION ${CMAKE_INSTALL_DATADIR}/cifra/log)
install(FILES ${PROJECT_SOURCE_DIR}/examples/log/LogExports.h
        DESTINATION ${CMAKE_INSTALL_DATADIR}/cifra/log)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/ DESTINATION ${CMAKE_INSTALL_DATADIR}/cifra/examples
        PATTERN log EXCLUDE)

install(
  EXPORT CifraTargets
  NAMESPACE Cifra::
  DESTINATION ${CIFRA_PACKAGE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/CifraConfig.cmake.in CifraConfig.cmake
                              INSTALL_DESTINATION ${CIFRA_PACKAGE_DIR}
                              PATH_VARS CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(CifraConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/CifraConfig.cmake ${PROJECT_BINARY_DIR}/CifraConfigVersion.cmake
        DESTINATION ${CIFRA_PACKAGE_DIR})

configure_file(${PROJECT_SOURCE_DIR}/cmake/cifra.pc.in cifra.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/cifra.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
