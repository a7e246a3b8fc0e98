# The editor's images are drawn at build time by fenwoldrine-artgen
# (tools/artgen) into FW_ART_DIR, one <number>.png per image of the table
# in tools/artgen/ArtCatalogue.h, and compiled into fw_resources like any
# other resource. The numbers are read from that table's lines ("{900, ...").
#
#   fw_art_ids(<var>)                the numbers, in table order
#   fw_embed_art(TARGET <lib>)       embeds every image (type "PNG") into <lib>

# Included by each directory that needs it, so the variables below are set
# in each of them.
include(${CMAKE_CURRENT_LIST_DIR}/EmbedResources.cmake)

set(FW_ART_DIR ${CMAKE_BINARY_DIR}/art)
set(FW_ART_CATALOGUE ${PROJECT_SOURCE_DIR}/tools/artgen/ArtCatalogue.h)
# A new image in the table means new resources: configure again.
set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${FW_ART_CATALOGUE})

function(fw_art_ids out)
  file(STRINGS ${FW_ART_CATALOGUE} lines REGEX "^ *\\{[0-9]+, [0-9]+, [0-9]+, [0-9]+, \"")
  set(ids "")
  foreach(line IN LISTS lines)
    string(REGEX MATCH "[0-9]+" id "${line}")
    list(APPEND ids ${id})
  endforeach()
  if(ids STREQUAL "")
    message(FATAL_ERROR "no images found in ${FW_ART_CATALOGUE}")
  endif()
  set(${out} ${ids} PARENT_SCOPE)
endfunction()

function(fw_embed_art)
  cmake_parse_arguments(PARSE_ARGV 0 ARG "" "TARGET" "")
  fw_art_ids(ids)
  foreach(id IN LISTS ids)
    fw_embed_resource(TARGET ${ARG_TARGET} NAME ${id} TYPE PNG FILE ${FW_ART_DIR}/${id}.png GENERATED_BY fw_art)
  endforeach()
endfunction()
