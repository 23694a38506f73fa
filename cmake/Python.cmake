# The package ksl for Python: a module on the library, and what is written in Python, side by side in the build.
#
# It is for the system's Python, whatever stands first on the path: that is the one that packages are for.
if(NOT DEFINED Python_EXECUTABLE AND EXISTS /usr/bin/python3)
  set(Python_EXECUTABLE /usr/bin/python3)
endif()
find_package(Python 3.9 QUIET COMPONENTS Interpreter Development.Module)
if(Python_FOUND)
  find_package(pybind11 2.9 QUIET CONFIG)
endif()
if(NOT Python_FOUND OR NOT pybind11_FOUND)
  message(STATUS "Python's headers or pybind11 are missing: no package for Python (tools/setup.sh package installs them).")
  return()
endif()

set(KSL_PYTHON_DIR ${PROJECT_BINARY_DIR}/python)
file(GLOB python_sources CONFIGURE_DEPENDS python/src/*.cpp)
file(GLOB python_files CONFIGURE_DEPENDS python/ksl/*.py python/ksl/*.pyi python/ksl/py.typed)
pybind11_add_module(ksl_python MODULE NO_EXTRAS ${python_sources})
set_target_properties(ksl_python PROPERTIES
  OUTPUT_NAME _ksl
  LIBRARY_OUTPUT_DIRECTORY ${KSL_PYTHON_DIR}/ksl)
target_compile_definitions(ksl_python PRIVATE KSL_VERSION="${PROJECT_VERSION}")
target_link_libraries(ksl_python PRIVATE KSLCore)
file(MAKE_DIRECTORY ${KSL_PYTHON_DIR}/ksl)
foreach(file IN LISTS python_files)
  get_filename_component(name ${file} NAME)
  file(CREATE_LINK ${file} ${KSL_PYTHON_DIR}/ksl/${name} SYMBOLIC)
endforeach()
