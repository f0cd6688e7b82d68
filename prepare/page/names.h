/*
 * names.h - names of resources that cannot stand in PostScript as they are
 *
 * The converter writes resource names as they are stored.  A name with a blank or a delimiter in it
 * falls into several words in PostScript; such a resource gets another name, in content too.
 */
#ifndef PREPARE_PAGE_NAMES_H
#define PREPARE_PAGE_NAMES_H

#include "prepare/content/evaluate.h"
#include "prepare/content/rewrite.h"

namespace prepare {

/* Is the name (with its slash) not plain, or too long for a resource (model/plain.h)? */
bool isOddName(const std::string &name);

/* The plain name that stands for an odd one all over the document. */
std::string plainName(Document *document, const std::string &name);

/* Gives resources with odd names plain ones.  Stands behind the passes that look names up. */
extern const ContentPass namePass;

extern const Observer nameObserver;

} // namespace prepare

#endif
