# SPDX-License-Identifier: MIT
# cmake -D PAGE=FILE.html -D HEADER=... -D NAMESPACE=... -D NAME=... -D OUT=FILE.cpp -P embed_page.cmake
# Puts a page together and makes a source file of it. A line @FILE@ of the page stands for that file, which lies beside
# the page; @data@ is the place where the page is cut in two, the texts NAMEHead and NAMETail.
file(READ ${PAGE} text)
get_filename_component(folder ${PAGE} DIRECTORY)
string(REGEX MATCHALL "@[a-z_]+\\.[a-z]+@\n" marks "${text}")
foreach(mark ${marks})
  string(REGEX REPLACE "[@\n]" "" file "${mark}")
  file(READ ${folder}/${file} part)
  string(REPLACE "${mark}" "${part}" text "${text}")
endforeach()

string(FIND "${text}" "@data@" cut)
if(cut EQUAL -1)
  message(FATAL_ERROR "${PAGE} has no place for the data")
endif()
string(SUBSTRING "${text}" 0 ${cut} head)
math(EXPR cut "${cut} + 6")
string(SUBSTRING "${text}" ${cut} -1 tail)

# Single characters, because a compiler need not take a literal of more than 65535 of them, and one takes 16380.
function(array name bytes out)
  string(HEX "${bytes}" bytes)
  string(REGEX REPLACE "(..)" "'\\\\x\\1'," bytes "${bytes}")
  # Lines, for whoever looks into the file.
  string(REPEAT "." 112 line)
  string(REGEX REPLACE "(${line})" "\\1\n" bytes "${bytes}")
  set(${out} "constexpr char ${name}[] = {\n${bytes}};\n" PARENT_SCOPE)
endfunction()
array(head "${head}" head)
array(tail "${tail}" tail)
file(WRITE ${OUT} "#include \"${HEADER}\"

namespace ${NAMESPACE} {

namespace {
${head}${tail}} // namespace

const std::string_view ${NAME}Head(head, sizeof head);
const std::string_view ${NAME}Tail(tail, sizeof tail);

} // namespace ${NAMESPACE}
")
