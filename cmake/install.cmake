# Installation: the shared library, the public headers, the vexqom tool, the Python module,
# the XML schemas, a CMake package (find_package(vexqom) gives vexqom::vexqom) and a
# pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(VEXQOM_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/vexqom)
set(VEXQOM_PYTHON_INSTALL_DIR "" CACHE STRING
    "Where the Python module goes (absolute, or relative to the prefix); empty: the purelib \
folder of the Python interpreter for the install prefix")
option(VEXQOM_INSTALL_STRIP
       "Strip the installed library and tool (the build tree keeps its debugging information)" ON)
find_package(Python3 COMPONENTS Interpreter)

# Runs first in the install script, so the targets below are stripped unless the caller
# chose otherwise (cmake --install --strip, or this option off).
if(VEXQOM_INSTALL_STRIP)
  install(CODE "if(NOT DEFINED CMAKE_INSTALL_DO_STRIP)\n  set(CMAKE_INSTALL_DO_STRIP 1)\nendif()")
endif()

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
# the Python module's folder and pointer to the library are settled then.
install(CODE "
  set(prefix \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")
  file(READ \"${CMAKE_BINARY_DIR}/vexqom.pc.in-prefix\" pc)
  string(REPLACE \"%%PREFIX%%\" \"\${CMAKE_INSTALL_PREFIX}\" pc \"\${pc}\")
  file(WRITE \"\${prefix}/${CMAKE_INSTALL_LIBDIR}/pkgconfig/vexqom.pc\" \"\${pc}\")
  message(STATUS \"Installing: \${prefix}/${CMAKE_INSTALL_LIBDIR}/pkgconfig/vexqom.pc\")
")

if(Python3_Interpreter_FOUND OR VEXQOM_PYTHON_INSTALL_DIR)
  install(CODE "
    set(python_dir \"${VEXQOM_PYTHON_INSTALL_DIR}\")
    if(python_dir STREQUAL \"\")
      execute_process(COMMAND \"${Python3_EXECUTABLE}\"
                              \"${CMAKE_CURRENT_LIST_DIR}/python_purelib.py\" \"\${CMAKE_INSTALL_PREFIX}\"
                      OUTPUT_VARIABLE python_dir OUTPUT_STRIP_TRAILING_WHITESPACE
                      COMMAND_ERROR_IS_FATAL ANY)
    elseif(NOT IS_ABSOLUTE \"\${python_dir}\")
      set(python_dir \"\${CMAKE_INSTALL_PREFIX}/\${python_dir}\")
    endif()
    file(INSTALL \"${CMAKE_SOURCE_DIR}/python/vexqom\" DESTINATION \"\$ENV{DESTDIR}\${python_dir}\"
         PATTERN __pycache__ EXCLUDE)
    # The library by its versioned name: the one that stays when only the runtime is there.
    file(WRITE \"\$ENV{DESTDIR}\${python_dir}/vexqom/_installed.py\"
         \"LIBRARY = \\\"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/$<TARGET_SONAME_FILE_NAME:vexqom>\\\"\\n\")
    message(STATUS \"Installing: \$ENV{DESTDIR}\${python_dir}/vexqom/_installed.py\")
  ")
endif()
