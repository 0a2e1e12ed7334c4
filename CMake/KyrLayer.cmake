# kyr_layer(NAME FOLDER SOURCES… [LINKS targets…] [PRIVATE_LINKS targets…] [EXPORT set])
#
# One folder, one target, Kyr::FOLDER inside and outside. The layer's headers are included as "Folder/Header.h" through the layer's own link in the build tree, so a target can include only the layers that it links. The headers at the top level of the folder
# are its public ones and are installed; those in Internal and those called +Private are not.
function(kyr_layer name folder)
  cmake_parse_arguments(ARG "" "EXPORT" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
  if(NOT ARG_EXPORT)
    set(ARG_EXPORT KyrTargets)
  endif()
  set(include_root ${PROJECT_BINARY_DIR}/include/${name})
  file(MAKE_DIRECTORY ${include_root})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${include_root}/${folder} SYMBOLIC)

  add_library(${name} ${ARG_SOURCES})
  add_library(Kyr::${folder} ALIAS ${name})
  target_link_libraries(${name} PUBLIC ${ARG_LINKS} PRIVATE $<BUILD_INTERFACE:kyr_flags> ${ARG_PRIVATE_LINKS})
  target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${include_root}>
                                            $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/kyr>)
  target_compile_features(${name} PUBLIC cxx_std_20)
  set_target_properties(${name} PROPERTIES EXPORT_NAME ${folder} DEFINE_SYMBOL "")

  install(TARGETS ${name} EXPORT ${ARG_EXPORT})
  file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  list(FILTER headers EXCLUDE REGEX "\\+Private\\.h$")
  install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kyr/${folder})
endfunction()
