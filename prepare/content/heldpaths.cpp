/*
 * heldpaths.cpp - one walk, in which operators of paths wait
 */
#include "prepare/content/heldpaths.h"

#include "prepare/model/tokens.h"

namespace prepare {

std::string withPathsHeld(const std::string &content)
{
    std::string made, path;
    ContentReader reader{content};
    Operation operation;
    while (readOperation(&reader, &operation)) {
        const Operator &op = *operation.op;
        if (op.is(MAKES_PATH | CLIPS)) {
            path += operation.source;
            continue;
        }
        if (op.is(ENDS_PATH) && !path.empty()) {
            made += "\n" + path; /* the content's first operation has no space in front */
            path.clear();
        }
        made += operation.source;
    }
    return made + "\n" + path + std::string(operation.source);
}

} // namespace prepare
