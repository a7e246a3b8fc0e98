# Run as a script (cmake -P): writes OUTPUT, a C++ source defining the bytes
# of INPUT as SYMBOL_data (plus a NUL byte not counted), its size as
# SYMBOL_size, and the resource's name and type as SYMBOL_name / SYMBOL_type.

foreach(required INPUT OUTPUT SYMBOL RESOURCE_NAME RESOURCE_TYPE)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "EmbedFile.cmake: ${required} is not set")
  endif()
endforeach()

file(READ ${INPUT} hex HEX)
string(LENGTH "${hex}" hex_length)
math(EXPR size "${hex_length} / 2")

# Sixteen bytes a line, each as 0xNN.
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
string(REPEAT "0x[0-9a-f][0-9a-f]," 16 line)
string(REGEX REPLACE "${line}" "\\0\n    " bytes "${bytes}")

foreach(text RESOURCE_NAME RESOURCE_TYPE)
  string(REPLACE "\\" "\\\\" ${text} "${${text}}")
  string(REPLACE "\"" "\\\"" ${text} "${${text}}")
endforeach()

set(source "// Generated from ${INPUT}; edit that file instead.\n#include <cstddef>\n\n")
string(APPEND source "extern const unsigned char ${SYMBOL}_data[];\n")
string(APPEND source "extern const unsigned char ${SYMBOL}_data[] = {\n    ${bytes}0x00};\n")
string(APPEND source "extern const std::size_t ${SYMBOL}_size = ${size};\n")
string(APPEND source "extern const char ${SYMBOL}_name[] = \"${RESOURCE_NAME}\";\n")
string(APPEND source "extern const char ${SYMBOL}_type[] = \"${RESOURCE_TYPE}\";\n")

# Leave an unchanged file alone so nothing recompiles needlessly.
if(EXISTS ${OUTPUT})
  file(READ ${OUTPUT} previous)
  if(previous STREQUAL source)
    return()
  endif()
endif()
file(WRITE ${OUTPUT} "${source}")
