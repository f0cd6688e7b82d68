/*
 * place.h - where a page lies on its paper
 */
#ifndef JOB_PLACE_H
#define JOB_PLACE_H

#include <cstdint>

#include "job/job.h"

namespace job {

struct Placement {
    int64_t paperWidth, paperHeight;
    double matrix[6];                 /* from the page's own points to the paper's */
    int64_t left, bottom, right, top; /* what of the paper the page covers, whole points */

    bool isIdentity() const;
};

/* A page of this size on that paper (one without area has no place on it): turned by a quarter when
 * the one is wide and the other tall, made smaller or larger as the paper's scaling says, centred
 * or in the lower left corner. */
Placement placePage(int64_t width, int64_t height, const Paper &paper);

} // namespace job

#endif
