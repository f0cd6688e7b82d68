/*
 * sample_document.h - small documents with every feature that the converter reads
 */
#ifndef TESTS_SAMPLE_DOCUMENT_H
#define TESTS_SAMPLE_DOCUMENT_H

#include <string>

/* Two pages, a content array, an incremental update, an indirect /Length, inherited attributes,
 * every kind of object and every kind of resource.  Converts without a fault. */
std::string sampleDocument();

/* Two pages that share most of what they use, in clear, with every kind of resource that needs no
 * embedded font. */
std::string documentOfResources();

#endif
