/*
 * filters.h - the chain of filters of an image, for decode.cpp, depths.cpp and inline.cpp
 */
#ifndef PREPARE_IMAGES_FILTERS_H
#define PREPARE_IMAGES_FILTERS_H

#include <string>
#include <vector>

#include "prepare/images/decode.h"

namespace prepare {

struct Filter {
    std::string name;
    QPDFObjectHandle parameters;
};

/* A filter's name in full. */
std::string inFull(const std::string &name);

/* An item of an array; of anything else, the thing itself is item 0.  Null beyond the end. */
QPDFObjectHandle itemOf(QPDFObjectHandle object, int item);

/* Throws LimitReached when they are too many. */
std::vector<Filter> filtersOf(QPDFObjectHandle dict);

/* The image's data behind the general filters, handed to its own one, if there is any. */
void decodeData(Document *document, QPDFObjectHandle object, std::vector<Filter> filters,
                PackedImage *image);

/* The name of a colour space, or the first of its array; empty: none. */
std::string familyOf(QPDFObjectHandle space);
bool isIndexed(QPDFObjectHandle space);

} // namespace prepare

#endif
