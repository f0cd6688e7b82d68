# embed.cmake - writes the prolog and the trailer as C++ arrays
#   cmake -DPROLOG=file -DTRAILER=file -DOUTPUT=file -P embed.cmake

include(${CMAKE_CURRENT_LIST_DIR}/array_of.cmake)
array_of(${PROLOG} prologBytes prolog)
array_of(${TRAILER} trailerBytes trailer)
file(WRITE ${OUTPUT} "/* Made by library/embed.cmake. */
#include \"library/builtin.h\"

namespace {

${prolog}
${trailer}
} // namespace

const BuiltinFile builtinProlog = {prologBytes, sizeof prologBytes};
const BuiltinFile builtinTrailer = {trailerBytes, sizeof trailerBytes};
")
