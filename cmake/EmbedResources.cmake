# Compiles files into a library as byte arrays, found at run time by name and
# type through findResource() (resources/ResourceTable.h).
#
#   fw_embed_resource(TARGET <lib> NAME <name> TYPE <type> FILE <path>
#                     [GENERATED_BY <target>])
#
# Each call turns FILE into a generated source of <lib> that holds its bytes
# (followed by one NUL byte not counted in the size) and adds the entry to
# the list that <lib>'s ResourceTable.cpp includes as
# "EmbeddedResourceList.inc". The bytes are regenerated whenever FILE
# changes. Call it from the directory that creates <lib>.
#
# GENERATED_BY names the target that makes FILE during the build: FILE
# need not exist when CMake runs, and <lib> is built after that target.

include_guard(GLOBAL)

set_property(GLOBAL PROPERTY FW_EMBED_FILE_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/EmbedFile.cmake)

function(fw_embed_resource)
  cmake_parse_arguments(PARSE_ARGV 0 ARG "" "TARGET;NAME;TYPE;FILE;GENERATED_BY" "")
  foreach(required TARGET NAME TYPE FILE)
    if(NOT ARG_${required})
      message(FATAL_ERROR "fw_embed_resource: ${required} is missing")
    endif()
  endforeach()
  if(NOT TARGET ${ARG_TARGET})
    message(FATAL_ERROR "fw_embed_resource: no target ${ARG_TARGET}")
  endif()
  get_filename_component(input ${ARG_FILE} ABSOLUTE BASE_DIR ${CMAKE_CURRENT_SOURCE_DIR})
  if(ARG_GENERATED_BY)
    set_source_files_properties(${input} PROPERTIES GENERATED TRUE)
    add_dependencies(${ARG_TARGET} ${ARG_GENERATED_BY})
  elseif(NOT EXISTS ${input})
    message(FATAL_ERROR "fw_embed_resource: ${input} does not exist")
  endif()

  # One C++ identifier per (name, type); names such as "OpenSans-Regular"
  # become "OpenSans_Regular".
  string(MAKE_C_IDENTIFIER "fw_res_${ARG_NAME}_${ARG_TYPE}" symbol)
  get_target_property(entries ${ARG_TARGET} FW_EMBEDDED_RESOURCES)
  if(NOT entries)
    set(entries "")
  endif()
  if("FW_RESOURCE(${symbol})" IN_LIST entries)
    message(FATAL_ERROR "fw_embed_resource: ${ARG_NAME} (${ARG_TYPE}) clashes with a resource already in ${ARG_TARGET}")
  endif()

  set(generated_dir ${CMAKE_CURRENT_BINARY_DIR}/${ARG_TARGET}_embedded)
  set(output ${generated_dir}/${symbol}.cpp)
  get_property(script GLOBAL PROPERTY FW_EMBED_FILE_SCRIPT)
  add_custom_command(
    OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND}
      -DINPUT=${input} -DOUTPUT=${output} -DSYMBOL=${symbol}
      -DRESOURCE_NAME=${ARG_NAME} -DRESOURCE_TYPE=${ARG_TYPE}
      -P ${script}
    DEPENDS ${input} ${script}
    COMMENT "Embedding ${ARG_NAME} (${ARG_TYPE})"
    VERBATIM)
  target_sources(${ARG_TARGET} PRIVATE ${output})

  # The list is written once per target, at generate time, so it holds
  # every resource added to the target wherever the call sits.
  if(entries STREQUAL "")
    file(GENERATE OUTPUT ${generated_dir}/EmbeddedResourceList.inc
      CONTENT "$<JOIN:$<TARGET_PROPERTY:${ARG_TARGET},FW_EMBEDDED_RESOURCES>,\n>\n")
    target_include_directories(${ARG_TARGET} PRIVATE ${generated_dir})
  endif()
  set_property(TARGET ${ARG_TARGET} APPEND PROPERTY FW_EMBEDDED_RESOURCES "FW_RESOURCE(${symbol})")
endfunction()
