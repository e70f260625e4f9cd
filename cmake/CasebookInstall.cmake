# Installs the libraries, their headers and the package that find_package(casebook) reads.
include(CMakePackageConfigHelpers)

set(CASEBOOK_INSTALL_CMAKEDIR "${CMAKE_INSTALL_LIBDIR}/cmake/casebook")
set(casebook_libraries casebook)
if(TARGET casebook_file)
  list(APPEND casebook_libraries casebook_file)
endif()

install(
  TARGETS ${casebook_libraries}
  EXPORT casebookTargets
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(
  EXPORT casebookTargets
  NAMESPACE casebook::
  DESTINATION "${CASEBOOK_INSTALL_CMAKEDIR}")

configure_package_config_file(cmake/casebookConfig.cmake.in casebookConfig.cmake
                              INSTALL_DESTINATION "${CASEBOOK_INSTALL_CMAKEDIR}")
write_basic_package_version_file(casebookConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/casebookConfig.cmake"
              "${CMAKE_CURRENT_BINARY_DIR}/casebookConfigVersion.cmake" cmake/Findlibdeflate.cmake
        DESTINATION "${CASEBOOK_INSTALL_CMAKEDIR}")

if(TARGET casebook_cli)
  install(TARGETS casebook_cli RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()
