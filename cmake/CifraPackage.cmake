# The installed package: Cifra.dll with its import library and symbols, the client, the public headers
# and what find_package(Cifra) needs.
include(CMakePackageConfigHelpers)

set(CIFRA_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Cifra)
# A folder of its own: the headers' names are not all Cifra's.
set(CIFRA_HEADER_DIR ${CMAKE_INSTALL_INCLUDEDIR}/cifra)

install(
  TARGETS Cifra cifra_headers
  EXPORT CifraTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  FILE_SET HEADERS DESTINATION ${CIFRA_HEADER_DIR})
if(TARGET cifra_client)
  install(TARGETS cifra_client RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
install(
  FILES $<TARGET_FILE_DIR:Cifra>/$<TARGET_FILE_BASE_NAME:Cifra>.pdb
  DESTINATION ${CMAKE_INSTALL_BINDIR}
  OPTIONAL)
install(
  EXPORT CifraTargets
  NAMESPACE Cifra::
  DESTINATION ${CIFRA_PACKAGE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/CifraConfig.cmake.in CifraConfig.cmake
                              INSTALL_DESTINATION ${CIFRA_PACKAGE_DIR})
write_basic_package_version_file(CifraConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/CifraConfig.cmake ${PROJECT_BINARY_DIR}/CifraConfigVersion.cmake
        DESTINATION ${CIFRA_PACKAGE_DIR})
