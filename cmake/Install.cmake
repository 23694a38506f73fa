# What is installed, and how others find it.
#
# Components: library (what programs run with), dev (what they are built with), host (ksl, its demo library and what
# that computes), python (the package ksl).

include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ORVKSLCore)

set_target_properties(KSLCoreStatic PROPERTIES EXCLUDE_FROM_ALL OFF)
install(TARGETS KSLCore EXPORT ORVKSLCoreTargets LIBRARY COMPONENT library NAMELINK_COMPONENT dev)
install(TARGETS KSLCoreStatic EXPORT ORVKSLCoreTargets ARCHIVE COMPONENT dev)
install(EXPORT ORVKSLCoreTargets NAMESPACE orvksl:: DESTINATION ${package_dir} COMPONENT dev)

configure_package_config_file(cmake/ORVKSLCoreConfig.cmake.in ${PROJECT_BINARY_DIR}/ORVKSLCoreConfig.cmake
  INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ORVKSLCoreConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ORVKSLCoreConfig.cmake ${PROJECT_BINARY_DIR}/ORVKSLCoreConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT dev)

file(RELATIVE_PATH KSL_PC_TO_LIB ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH KSL_PC_TO_INCLUDE ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_INCLUDEDIR})
file(RELATIVE_PATH KSL_PC_TO_DATA ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_DATADIR})
configure_file(cmake/orvksl.pc.in ${PROJECT_BINARY_DIR}/orvksl.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvksl.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

# Installed headers include each other by relative paths: no folder of that name that a program has comes between.
set(header_roots ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/KSLCore/include ${KSL_GENERATED_INCLUDES})
install(CODE "
  set(ROOTS \"${header_roots}\")
  set(LAYERS \"platform;${KSL_LAYERS}\")
  set(OUT \"${PROJECT_BINARY_DIR}/installed-headers\")
  include(\"${PROJECT_SOURCE_DIR}/cmake/InstalledHeaders.cmake\")" COMPONENT dev)
install(DIRECTORY ${PROJECT_BINARY_DIR}/installed-headers/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvksl
  COMPONENT dev)

if(KSL_HOST)
  install(TARGETS ksl RUNTIME COMPONENT host)
  if(TARGET ksl_mpi)
    install(TARGETS ksl_mpi RUNTIME COMPONENT host)
  endif()
  if(CMAKE_CROSSCOMPILING)  # nobody here can run it
    set(optional OPTIONAL)
  endif()
  install(FILES ${KSL_COMMAND_FILES}/ksl.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT host ${optional})
  install(FILES ${KSL_COMMAND_FILES}/ksl DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT host ${optional})
  install(FILES ${KSL_COMMAND_FILES}/_ksl DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT host ${optional})
  install(FILES ${KSL_COMMAND_FILES}/ksl.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT host ${optional})
  install(DIRECTORY share/ksl/ DESTINATION ${CMAKE_INSTALL_DATADIR}/orvksl/demo COMPONENT host)
  # Some files are those of the demo, here as links.
  file(GLOB results_rules CONFIGURE_DEPENDS share/ksl-results/*.ksl)
  foreach(file IN LISTS results_rules)
    file(REAL_PATH ${file} file)
    install(FILES ${file} DESTINATION ${CMAKE_INSTALL_DATADIR}/orvksl/results COMPONENT host)
  endforeach()
endif()
foreach(plugin IN LISTS plugin_targets)
  if(NOT plugin STREQUAL plugin_smallest)  # an example for readers
    install(TARGETS ${plugin} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/orvksl COMPONENT host)
  endif()
endforeach()

if(TARGET ksl_python)
  # Debian's Python looks in one folder below /usr, where packages are installed, and in another one below /usr/local.
  install(CODE "
    if(CMAKE_INSTALL_PREFIX STREQUAL /usr)
      set(KSL_PYTHON_FOLDER python3)
    else()
      set(KSL_PYTHON_FOLDER python${Python_VERSION_MAJOR}.${Python_VERSION_MINOR})
    endif()" COMPONENT python)
  set(python_package_dir "lib/\${KSL_PYTHON_FOLDER}/dist-packages/ksl")
  file(RELATIVE_PATH KSL_PYTHON_TO_LIB ${CMAKE_INSTALL_PREFIX}/lib/python3/dist-packages/ksl ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(ksl_python PROPERTIES INSTALL_RPATH "$ORIGIN/${KSL_PYTHON_TO_LIB}")
  install(TARGETS ksl_python LIBRARY DESTINATION ${python_package_dir} COMPONENT python)
  math(EXPR PYTHON_NEXT_MINOR "${Python_VERSION_MINOR} + 1")
  install(FILES ${python_files} DESTINATION ${python_package_dir} COMPONENT python)
endif()

if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()

# Debian packages, one for each component (make package). All paths are relative, so it is no matter that the build was
# configured for another prefix.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orvksl)
set(CPACK_PACKAGE_CONTACT "The developers of libORVKSLCore")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Object core of an engineering post-processor")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_COMPONENTS_ALL library dev)
if(KSL_HOST)
  list(APPEND CPACK_COMPONENTS_ALL host)
endif()
if(TARGET ksl_python)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME liborvkslcore${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/triggers)
set(CPACK_DEBIAN_DEV_PACKAGE_NAME liborvkslcore-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME} (= ${PROJECT_VERSION}), libudunits2-dev")
set(CPACK_DEBIAN_HOST_PACKAGE_NAME ksl)
set(CPACK_DEBIAN_HOST_PACKAGE_SECTION science)
set(CPACK_DEBIAN_HOST_PACKAGE_DEPENDS "${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-ksl)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
  "${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME} (= ${PROJECT_VERSION}), ksl (= ${PROJECT_VERSION}), python3 (>= ${Python_VERSION_MAJOR}.${Python_VERSION_MINOR}), python3 (<< ${Python_VERSION_MAJOR}.${PYTHON_NEXT_MINOR})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS python3-numpy)
include(CPack)
