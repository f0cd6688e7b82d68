# embed.cmake - writes the runtime, plain and compressed, as C++ arrays
#   cmake -DRUNTIME=file -DDEFLATED=file -DOUTPUT=file -P embed.cmake
include(${CMAKE_CURRENT_LIST_DIR}/../library/array_of.cmake)
array_of(${RUNTIME} runtimeBytes runtime)
array_of(${DEFLATED} deflatedBytes deflated)
file(WRITE ${OUTPUT} "/* Made by job/embed.cmake. */
#include \"job/runtime.h\"

namespace {

${runtime}
${deflated}
} // namespace

const job::RuntimeFile job::builtinRuntime = {runtimeBytes, sizeof runtimeBytes};
const job::RuntimeFile job::deflatedRuntime = {deflatedBytes, sizeof deflatedBytes};
")
