/*
 * instance.h - the converter instance
 *
 * The framework creates it from zolak_baseclass and owns it.  Everything here is plain data: the
 * record comes into being zeroed, and the framework's attribute machinery writes into it by
 * position.
 */
#ifndef PDF_TO_PS_INSTANCE_H
#define PDF_TO_PS_INSTANCE_H

#include <cstdint>

#include "tools/zolak1_3/pdf_to_ps/writer/run.h"
#include "zelkov/attribute.h"
#include "zelkov/instance.h"

/* The attributes: five texts, then four 32-bit integers, in the order of the attribute table. */
struct ConverterOptions {
    char FILE[TEXT_BYTES];
    char OUTSPEC[TEXT_BYTES];
    char PROLOG[TEXT_BYTES];
    char TRAILER[TEXT_BYTES];
    char LOGFILE[TEXT_BYTES]; /* stored, not used */
    int32_t ENCRYPT;          /* convert encrypted documents undecrypted */
    int32_t PAGE;             /* 0: all pages; n: only page n */
    int32_t DEBUG;            /* stored, not used */
    int32_t DECODE;           /* decode page content instead of passing it through */
};

struct ConverterInstance {
    ZelkovInstance header;
    ConverterOptions options;
    ConversionRun run;
};

#endif
