# The bundle: a relocatable tree Driftwell/Contents/… with the same shape in the build folder and where it is installed.
set(DRIFTWELL_BUNDLE ${CMAKE_BINARY_DIR}/Driftwell)
set(DRIFTWELL_HELPERS ${DRIFTWELL_BUNDLE}/Contents/Helpers)

# An option that is not set is null in the information dictionary.
foreach(option CONFIG_DIR FEED_URL)
  set(DRIFTWELL_${option}_JSON null)
  if(DRIFTWELL_${option})
    set(DRIFTWELL_${option}_JSON "\"${DRIFTWELL_${option}}\"")
  endif()
endforeach()
configure_file(${CMAKE_SOURCE_DIR}/cmake/Info.json.in ${DRIFTWELL_BUNDLE}/Contents/Info.json @ONLY)
install(FILES ${DRIFTWELL_BUNDLE}/Contents/Info.json DESTINATION Driftwell/Contents)

# driftwell_program(TARGET FOLDER): a program that lives in Contents/FOLDER, with a link to it in the build folder's bin/.
function(driftwell_program target folder)
  set(place ${DRIFTWELL_BUNDLE}/Contents/${folder})
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${place})
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/bin
    COMMAND ${CMAKE_COMMAND} -E create_symlink ${place}/$<TARGET_FILE_NAME:${target}>
            ${CMAKE_BINARY_DIR}/bin/$<TARGET_FILE_NAME:${target}>
    VERBATIM)
  install(TARGETS ${target} RUNTIME DESTINATION Driftwell/Contents/${folder})
endfunction()
