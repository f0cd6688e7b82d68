/*
 * replaced.h - images that are painted under other names than their own
 */
#ifndef PREPARE_IMAGES_REPLACED_H
#define PREPARE_IMAGES_REPLACED_H

#include <set>

#include "prepare/document/document.h"

namespace prepare {

/* A masked image becomes another one wherever it is painted, as long as it can be computed there. */
struct ReplacedImages {
    std::set<QPDFObjGen> replaced; /* somewhere */
    std::set<QPDFObjGen> kept;     /* somewhere else, under its own name */
};

inline bool isReplacedEverywhere(Document *document, QPDFObjectHandle image)
{
    const ReplacedImages &images = document->memos.of<ReplacedImages>();
    QPDFObjGen key = image.getObjGen();
    return images.replaced.count(key) > 0 && images.kept.count(key) == 0;
}

} // namespace prepare

#endif
