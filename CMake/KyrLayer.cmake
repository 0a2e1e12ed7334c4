# kyr_layer(NAME FOLDER SOURCES… [PRIVATE_HEADERS names…] [LINKS targets…] [PRIVATE_LINKS targets…] [EXPORT set])
#
# One folder, one target, Kyr::FOLDER inside and outside. The layer's headers are seen as "Folder/Header.h" through a link of
# its own in the build tree, so an include reaches only what the target links. All headers are installed but the private ones:
# those named, those in Internal and those called +Private.
function(kyr_layer name folder)
  cmake_parse_arguments(ARG "" "EXPORT" "SOURCES;PRIVATE_HEADERS;LINKS;PRIVATE_LINKS" ${ARGN})
  if(NOT ARG_EXPORT)
    set(ARG_EXPORT KyrTargets)
  endif()
  set(include_root ${PROJECT_BINARY_DIR}/include/${name})
  file(MAKE_DIRECTORY ${include_root})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${include_root}/${folder} SYMBOLIC)

  set(scope PUBLIC)
  if(ARG_SOURCES)
    add_library(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:kyr_flags> ${ARG_PRIVATE_LINKS})
  else()
    set(scope INTERFACE)
    add_library(${name} INTERFACE)
  endif()
  target_include_directories(${name} ${scope} $<BUILD_INTERFACE:${include_root}>
                                              $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/kyr>)
  target_link_libraries(${name} ${scope} ${ARG_LINKS})
  target_compile_features(${name} ${scope} cxx_std_20)
  set_target_properties(${name} PROPERTIES EXPORT_NAME ${folder})
  add_library(Kyr::${folder} ALIAS ${name})

  install(TARGETS ${name} EXPORT ${ARG_EXPORT})
  set(private)
  foreach(header ${ARG_PRIVATE_HEADERS})
    if(NOT EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${header})
      message(FATAL_ERROR "${folder} has no private header ${header}")
    endif()
    list(APPEND private PATTERN ${header} EXCLUDE)
  endforeach()
  install(DIRECTORY . DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kyr/${folder}
          FILES_MATCHING PATTERN "*.h" PATTERN "*+Private.h" EXCLUDE PATTERN "Internal" EXCLUDE ${private})
endfunction()
