# cmake -DHEADERS=<list of files> -DOUTPUT=<file> -P WriteExports.cmake: a version script that exports every name that a
# public header mentions outside of its comments, and no other.
file(STRINGS ${HEADERS} headers)
set(names)
foreach(header IN LISTS headers)
    file(READ ${header} text)
    string(REGEX REPLACE "//[^\n]*" "" text "${text}")
    string(REGEX MATCHALL "[A-Za-z_][A-Za-z0-9_]*" found "${text}")
    list(APPEND names ${found})
endforeach()
# The prefixes of the library; what else a header mentions is the compiler's or the system's.
list(FILTER names INCLUDE REGEX "^_*(k?Lu|g?Tav|kTav|tav_|k?Zo|k?Yx|k?Wn|k?ID3|k?H264|k?HEVC|Atom)[A-Za-z0-9_]*$")
list(SORT names)
list(REMOVE_DUPLICATES names)
string(REPLACE ";" ";\n        " names "${names}")
file(WRITE ${OUTPUT} "LUVIA_1 {\n    global:\n        ${names};\n    local:\n        *;\n};\n")
