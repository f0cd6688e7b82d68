/*
 * handler.h - the handler of transparent paint, for transparency.cpp and objects.cpp
 */
#ifndef PREPARE_PAINT_HANDLER_H
#define PREPARE_PAINT_HANDLER_H

#include <memory>
#include <string>

#include "prepare/content/rewrite.h"
#include "prepare/paint/resolve.h"
#include "prepare/paint/survey.h"

namespace prepare {

struct TransparencyHandler : Handler {
    void begin(Rewriter *rewriter) override;
    bool placesForm(const Rewriter &rewriter, QPDFObjectHandle form) const override;
    bool visit(Rewriter *rewriter, const Operation &operation) override;
    void end(Rewriter *rewriter) override { flush(rewriter); }

  private:
    bool visitPath(Rewriter *rewriter, const Operation &operation);
    void paintPath(Rewriter *rewriter, const Operation &operation);
    void paintThroughMask(Rewriter *rewriter, const Operation &operation,
                          const ResolvedPaint &resolved);
    bool visitText(Rewriter *rewriter, const Operation &operation);
    bool visitObject(Rewriter *rewriter, const Operation &operation);
    bool visitImage(Rewriter *rewriter, const Operation &operation, QPDFObjectHandle image);
    bool visitStencil(Rewriter *rewriter, const Operation &operation);
    bool visitForm(Rewriter *rewriter, QPDFObjectHandle form);
    void flush(Rewriter *rewriter);

    TextPen pen;
    std::string path; /* operations that are held back */
    std::string clip; /* "W" or "W*" among them */

  public:
    std::shared_ptr<Painting> painting; /* what has been painted, here and in what this joins */
};

} // namespace prepare

#endif
