# Installation: the shared library, the public headers, the vexqom tool, the Python module,
# a CMake package (find_package(vexqom) gives vexqom::vexqom) and a pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(VEXQOM_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/vexqom)
set(VEXQOM_PYTHON_DIR ${CMAKE_INSTALL_LIBDIR}/python3/dist-packages
    CACHE STRING "Where the Python module is installed, relative to the prefix")

install(TARGETS vexqom EXPORT vexqomTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${CMAKE_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")
if(TARGET vexqom_tool)
  # The installed tool finds the installed library wherever the prefix is.
  set_target_properties(vexqom_tool PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS vexqom_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
install(DIRECTORY ${CMAKE_SOURCE_DIR}/schema/ DESTINATION ${CMAKE_INSTALL_DATADIR}/vexqom/schema
        OPTIONAL FILES_MATCHING PATTERN "*.xsd")

install(EXPORT vexqomTargets NAMESPACE vexqom:: DESTINATION ${VEXQOM_CMAKE_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/vexqomConfig.cmake.in
  ${CMAKE_BINARY_DIR}/vexqomConfig.cmake INSTALL_DESTINATION ${VEXQOM_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/vexqomConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/vexqomConfig.cmake ${CMAKE_BINARY_DIR}/vexqomConfigVersion.cmake
        DESTINATION ${VEXQOM_CMAKE_DIR})

configure_file(${CMAKE_CURRENT_LIST_DIR}/vexqom.pc.in ${CMAKE_BINARY_DIR}/vexqom.pc.in-prefix @ONLY)
# The prefix is only known at install time (cmake --install --prefix), so the .pc file and
# the Python module's pointer to the library are written then.
install(CODE "
  set(prefix \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")
  file(READ \"${CMAKE_BINARY_DIR}/vexqom.pc.in-prefix\" pc)
  string(REPLACE \"%%PREFIX%%\" \"\${CMAKE_INSTALL_PREFIX}\" pc \"\${pc}\")
  file(WRITE \"\${prefix}/${CMAKE_INSTALL_LIBDIR}/pkgconfig/vexqom.pc\" \"\${pc}\")
  message(STATUS \"Installing: \${prefix}/${CMAKE_INSTALL_LIBDIR}/pkgconfig/vexqom.pc\")
")
install(DIRECTORY ${CMAKE_SOURCE_DIR}/python/vexqom DESTINATION ${VEXQOM_PYTHON_DIR}
        PATTERN "__pycache__" EXCLUDE)
install(CODE "
  set(prefix \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")
  file(WRITE \"\${prefix}/${VEXQOM_PYTHON_DIR}/vexqom/_installed.py\"
       \"LIBRARY = \\\"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/libvexqom_PLUMEK2.so\\\"\\n\")
")
