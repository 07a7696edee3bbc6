# hvt_windows_resources(target): icon, manifest and version resource of a Windows program.
set(HVT_WINDOWS_RESOURCES_FOLDER ${CMAKE_CURRENT_LIST_DIR})
function(hvt_windows_resources target)
  set(generated ${CMAKE_CURRENT_BINARY_DIR}/${target}_resources)
  configure_file(${HVT_WINDOWS_RESOURCES_FOLDER}/resources.rc.in ${generated}/resources.rc @ONLY)
  configure_file(${HVT_WINDOWS_RESOURCES_FOLDER}/HalvetricSerialTest.manifest.in
                 ${generated}/HalvetricSerialTest.manifest @ONLY)
  configure_file(${HVT_WINDOWS_RESOURCES_FOLDER}/HalvetricSerialTest.ico
                 ${generated}/HalvetricSerialTest.ico COPYONLY)
  target_sources(${target} PRIVATE ${generated}/resources.rc)
  # The resource compiler looks for the icon and the manifest beside the script only when told.
  set_source_files_properties(${generated}/resources.rc PROPERTIES
    COMPILE_OPTIONS "-I${generated}"
    OBJECT_DEPENDS "${generated}/HalvetricSerialTest.manifest;${generated}/HalvetricSerialTest.ico")
  if(MSVC)  # whose linker would add a second manifest
    target_link_options(${target} PRIVATE /MANIFEST:NO)
  endif()
endfunction()
