/*
 * redirect.h - a part of the output into another handle: a page into a buffer, a temporary file
 *
 *     std::string page;
 *     ZFile *buffer = fopensink(...);
 *     {
 *         OutputRedirect redirect(run, buffer);
 *         describePage(run, attributes);
 *     }
 *     fclosx(buffer);
 */
#ifndef PDF_TO_PS_REDIRECT_H
#define PDF_TO_PS_REDIRECT_H

#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

/* While it lives, what the run writes goes into `output`, which stays the caller's; how many bytes
 * went there, zfile_written tells. */
class OutputRedirect {
  public:
    OutputRedirect(ConversionRun *redirected, ZFile *output)
        : run(redirected), before(redirected->output)
    {
        run->output = output;
    }
    ~OutputRedirect() { run->output = before; }
    OutputRedirect(const OutputRedirect &) = delete;
    OutputRedirect &operator=(const OutputRedirect &) = delete;

  private:
    ConversionRun *run;
    ZFile *before;
};

/* While it lives, the run's pages go to this sink, which stays the caller's. */
class SinkRedirect {
  public:
    SinkRedirect(ConversionRun *redirected, PageSink *sink)
        : run(redirected), before(redirected->sink)
    {
        run->sink = sink;
    }
    ~SinkRedirect() { run->sink = before; }
    SinkRedirect(const SinkRedirect &) = delete;
    SinkRedirect &operator=(const SinkRedirect &) = delete;

  private:
    ConversionRun *run;
    PageSink *before;
};

#endif
