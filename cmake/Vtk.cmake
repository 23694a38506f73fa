# The calculate library vtk: real results, where VTK is; else one that says what is missing.
set(KSL_VTK AUTO CACHE STRING "Build the calculate library vtk on VTK 9: AUTO (when it is there), ON or OFF")
set_property(CACHE KSL_VTK PROPERTY STRINGS AUTO ON OFF)

set(VTK_FOUND FALSE)
if(KSL_VTK)  # AUTO, too, is no false value
  enable_language(C)  # VTK's own description asks for it
  set(vtk_required "")
  if(NOT KSL_VTK STREQUAL AUTO)
    set(vtk_required REQUIRED)
  endif()
  find_package(VTK 9 QUIET ${vtk_required} COMPONENTS
    CommonCore CommonDataModel CommonExecutionModel FiltersCore FiltersExtraction FiltersFlowPaths FiltersGeneral
    FiltersGeometry FiltersModeling FiltersSources IOCGNSReader IOEnSight IOExport IOGeometry IOImage IOLegacy IOPLY
    IOParallel IOParallelXML IOXML ImagingCore ParallelCore RenderingAnnotation RenderingCore RenderingFreeType RenderingOpenGL2
    ChartsCore ViewsContext2D RenderingContext2D RenderingContextOpenGL2 cgns zlib)
endif()

if(VTK_FOUND)
  file(GLOB vtk_sources CONFIGURE_DEPENDS plugins/vtk/*.cpp)
  list(REMOVE_ITEM vtk_sources ${PROJECT_SOURCE_DIR}/plugins/vtk/missing.cpp)
else()
  set(vtk_sources plugins/vtk/missing.cpp)
  message(STATUS "The calculate library vtk is built without VTK (tools/setup.sh results installs it; KSL_VTK=ON).")
endif()
add_library(plugin_vtk MODULE ${vtk_sources})
set_target_properties(plugin_vtk PROPERTIES OUTPUT_NAME vtk INSTALL_RPATH "$ORIGIN/..")
target_link_libraries(plugin_vtk PRIVATE KSLCore)
if(VTK_FOUND)
  target_link_libraries(plugin_vtk PRIVATE ${VTK_LIBRARIES})
  vtk_module_autoinit(TARGETS plugin_vtk MODULES ${VTK_LIBRARIES})
endif()
list(APPEND plugin_targets plugin_vtk)
