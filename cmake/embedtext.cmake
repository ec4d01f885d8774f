# Writes a C++ source that holds the text of a file, so that a program carries the file
# within itself and needs no installation folder to hand it out.
#   cmake -DINPUT=file -DOUTPUT=source.cpp -DSYMBOL=name -P embedtext.cmake
# defines `const char Cli::SYMBOL[]` and `const std::size_t Cli::SYMBOLSize`.
file(READ "${INPUT}" text)
set(delimiter "embedded")
string(FIND "${text}" ")${delimiter}\"" clash)
if(NOT clash EQUAL -1)
  message(FATAL_ERROR "${INPUT} holds the raw string delimiter ')${delimiter}\"'")
endif()
set(source "// Generated from ${INPUT} by cmake/embedtext.cmake.\n#include <cstddef>\n\n")
string(APPEND source "namespace Cli {\n\nextern const char ${SYMBOL}[];\n")
string(APPEND source "extern const std::size_t ${SYMBOL}Size;\n\n")
string(APPEND source "const char ${SYMBOL}[] = R\"${delimiter}(${text})${delimiter}\";\n")
string(APPEND source "const std::size_t ${SYMBOL}Size = sizeof ${SYMBOL} - 1;\n\n")
string(APPEND source "} // namespace Cli\n")
file(WRITE "${OUTPUT}" "${source}")
