# Headers, libraries, programs, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

install(DIRECTORY include/qxdb DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(TARGETS qxdb_objects qxdb_adapter qxdb_agent EXPORT QXDBAgentTargets
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
foreach(program qxdb qxdbserver)
  if(TARGET ${program})
    install(TARGETS ${program} RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
  endif()
endforeach()

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/QXDBAgent")
install(EXPORT QXDBAgentTargets NAMESPACE QXDB:: DESTINATION "${package_dir}")
configure_package_config_file(cmake/QXDBAgentConfig.cmake.in
  "${PROJECT_BINARY_DIR}/QXDBAgentConfig.cmake" INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/QXDBAgentConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/QXDBAgentConfig.cmake"
              "${PROJECT_BINARY_DIR}/QXDBAgentConfigVersion.cmake" DESTINATION "${package_dir}")

# The prefix is told relative to the file, so that an installed tree can be moved.
file(RELATIVE_PATH QXDB_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/qxdbagent.pc.in "${PROJECT_BINARY_DIR}/qxdbagent.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/qxdbagent.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
