# Writes the C++ source that holds the default scenario file's text, so that
# the built-in default is the shipped file. Run as a script with INPUT and
# OUTPUT set.
file(READ ${INPUT} text)
string(LENGTH "${text}" length)
set(body "")
# Raw string literals have a size limit on some compilers: emit chunks.
set(offset 0)
while(offset LESS length)
  string(SUBSTRING "${text}" ${offset} 2000 chunk)
  string(APPEND body "    R\"vkscenario(${chunk})vkscenario\"\n")
  math(EXPR offset "${offset} + 2000")
endwhile()
file(WRITE ${OUTPUT}.tmp "// Generated from sim/scenarios/default.scenario; do not edit.\n#include \"sim/sim_internal.h\"\n\nnamespace sim {\n\nconst char* const kDefaultScenario =\n${body}    \"\";\n\n}  // namespace sim\n")
file(COPY_FILE ${OUTPUT}.tmp ${OUTPUT} ONLY_IF_DIFFERENT)
file(REMOVE ${OUTPUT}.tmp)
