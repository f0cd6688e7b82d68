/*
 * labels.h - what a document calls its pages
 */
#ifndef JOB_LABELS_H
#define JOB_LABELS_H

#include "job/plan.h"

namespace job {

/* Sets the labels of the plan's pages from the document's page labels, where it has any. */
void readLabels(ConversionRun *run, Plan *plan);

/* 4 as "iv", 28 as "bb", ...: by the style that page labels name ("D", "R", "r", "A", "a"; any
 * other: nothing). */
std::string styledNumber(const std::string &style, int64_t number);

} // namespace job

#endif
