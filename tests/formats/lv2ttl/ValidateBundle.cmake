# cmake -DVALIDATOR=sord_validate -DVOCABULARY_DIR=/usr/lib/lv2 -DBUNDLE=dir -P ValidateBundle.cmake
#
# Validates every Turtle file of the bundle together with the LV2
# vocabularies (only those: other plug-ins installed beside them are not
# ours to judge). Fails on any error or warning.

set(vocabularies atom buf-size core data-access dynmanifest event instance-access log midi morph
    options parameters patch port-groups port-props presets resize-port schemas state time ui units
    uri-map urid worker)
set(schema_files "")
foreach(name IN LISTS vocabularies)
  file(GLOB files "${VOCABULARY_DIR}/${name}.lv2/*.ttl")
  list(APPEND schema_files ${files})
endforeach()
if(NOT EXISTS "${VOCABULARY_DIR}/core.lv2/lv2core.ttl")
  message(FATAL_ERROR "no LV2 core vocabulary under ${VOCABULARY_DIR}")
endif()

file(GLOB bundle_files "${BUNDLE}/*.ttl")
if(NOT bundle_files)
  message(FATAL_ERROR "no Turtle in ${BUNDLE}: build the fw_lv2_ttl target first")
endif()
list(LENGTH bundle_files count)

execute_process(
  COMMAND ${VALIDATOR} ${schema_files} ${bundle_files}
  RESULT_VARIABLE status
  OUTPUT_VARIABLE out
  ERROR_VARIABLE err)
set(report "${out}${err}")
message("${report}")

string(REGEX MATCH "Found ([0-9]+) errors" summary "${report}")
if(NOT status EQUAL 0 OR NOT summary OR NOT CMAKE_MATCH_1 EQUAL 0)
  message(FATAL_ERROR "the ${count} Turtle files of ${BUNDLE} do not validate")
endif()
if(report MATCHES "(^|\n)(error|warning)[: ]")
  message(FATAL_ERROR "the validator reported problems in ${BUNDLE}")
endif()
message("${count} Turtle files of the bundle validate")
