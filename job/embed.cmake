# embed.cmake - writes the runtime as a C++ array
#   cmake -DRUNTIME=file -DOUTPUT=file -P embed.cmake
include(${CMAKE_CURRENT_LIST_DIR}/../library/array_of.cmake)
array_of(${RUNTIME} runtimeBytes runtime)
file(WRITE ${OUTPUT} "/* Made by job/embed.cmake. */
#include \"job/runtime.h\"

namespace {

${runtime}
} // namespace

const job::RuntimeFile job::builtinRuntime = {runtimeBytes, sizeof runtimeBytes};
")
