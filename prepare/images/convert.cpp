/*
 * convert.cpp - a walk over what a page can paint, and the images met on it
 */
#include "prepare/images/convert.h"

#include "prepare/images/colours.h"
#include "prepare/images/decode.h"
#include "prepare/images/encode.h"

namespace prepare {

namespace {

/* Images that have been converted, so that shared ones are so once. */
struct ConvertedImages {
    std::set<QPDFObjGen> images;
};

constexpr int MAX_NESTING = 2 * MAX_FORM_DEPTH; /* forms and soft masks within each other */

bool hasFilter(QPDFObjectHandle dict, const char *name)
{
    return dict.getKey("/Filter").isOrHasName(name);
}

/* ---- one image ---- */

} // namespace

void blankImage(QPDFObjectHandle image)
{
    PackedImage nothing;
    nothing.width = nothing.height = nothing.bits = 1;
    nothing.isMask = true;
    nothing.bytes = "\x80"; /* 1 is not painted */
    QPDFObjectHandle dict = image.getDict();
    for (const char *key : {"/ColorSpace", "/SMask", "/Mask", "/Decode"})
        dict.removeKey(key);
    dict.replaceKey("/ImageMask", QPDFObjectHandle::newBool(true));
    replaceImage(image, nothing, ImageCode::FLATE);
}

namespace {

bool isWhollyOpaque(const std::vector<uint8_t> &alpha)
{
    for (uint8_t value : alpha)
        if (value != 255)
            return false;
    return true;
}

bool hasMask(QPDFObjectHandle dict)
{
    return dict.hasKey("/SMask") || dict.hasKey("/Mask");
}

/* May small errors of the values pass?  Not where they are indices, or keys are held against them,
 * and not when the image is composed with a mask before it is written for good. */
bool mayLoseDetail(QPDFObjectHandle dict, const PackedImage &image)
{
    QPDFObjectHandle space = image.space;
    std::string family =
        nameOr(space.isArray() && space.getArrayNItems() > 0 ? space.getArrayItem(0) : space);
    return image.isLossy && !image.isMask && family != "/Indexed" && family != "/Lab" &&
           !hasMask(dict);
}

void convertJpx(Document *document, QPDFObjectHandle stream, const PackedImage &image)
{
    QPDFObjectHandle dict = stream.getDict();
    if (!image.isMask)
        dict.removeKey("/Decode"); /* which JPEG 2000 does not take part in */
    if (!isWhollyOpaque(image.alpha)) {
        dict.removeKey("/Mask");
        dict.replaceKey("/SMask", newGrayImage(document, image.width, image.height, image.alpha));
    }
    replaceImage(stream, image,
                 image.isMask                 ? ImageCode::FAX
                 : mayLoseDetail(dict, image) ? ImageCode::JPEG
                                              : ImageCode::FLATE);
}

/* 16 bits to their high bytes.  Colour keys are compared before, and become a mask. */
void convertDeep(Document *document, QPDFObjectHandle stream, const PackedImage &image)
{
    Samples samples = unpack(image);
    if (!image.key.empty())
        stream.getDict().replaceKey(
            "/Mask", newStencil(document, samples.width, samples.height, samples.alpha));
    PackedImage bytes = bytesAsImage(samples.width, samples.height, samples.space,
                                     samples.components, samples.values);
    replaceImage(stream, bytes, ImageCode::FLATE);
}

void convertStream(Document *document, const Page &page, QPDFObjectHandle stream)
{
    QPDFObjectHandle dict = stream.getDict();
    if (hasFilter(dict, "/DCTDecode")) { /* its data knows its depth */
        dict.replaceKey("/BitsPerComponent", QPDFObjectHandle::newInteger(8));
        return;
    }
    PackedImage image = decodePacked(document, stream);
    if (image.isDamaged)
        say(document, Message::PictureCut, page.number);
    if (hasFilter(dict, "/JPXDecode"))
        convertJpx(document, stream, image);
    else if (image.bits == 16)
        convertDeep(document, stream, image);
    else
        replaceImage(stream, image, ImageCode::FAX);
}

/* Is its data of a kind that the converter does not accept? */
bool hasOddData(QPDFObjectHandle image)
{
    QPDFObjectHandle dict = image.getDict();
    return hasFilter(dict, "/JPXDecode") || hasFilter(dict, "/JBIG2Decode") ||
           integerOr(dict.getKey("/BitsPerComponent"), 8) == 16;
}

/* Converts an image, once. */
void convert(Document *document, const Page &page, QPDFObjectHandle image)
{
    if (!imageNeedsWork(image) || !document->memos.of<ConvertedImages>().images.insert(image.getObjGen()).second)
        return;
    document->needs |= NEED_IMAGES;
    try {
        if (hasOddData(image))
            convertStream(document, page, image);
        if (imageNeedsColours(image))
            convertColours(document, image);
        return;
    } catch (const LimitReached &limit) {
        say(document, Message::PictureMissing, page.number, {limit.text});
    } catch (const std::bad_alloc &) {
        say(document, Message::PictureMissing, page.number, {"It needs too much memory."});
    }
    blankImage(image);
}

/* ---- the walk ---- */

struct ImageWalk {
    Document *document;
    const Page *page;
    std::set<QPDFObjGen> seen; /* forms, fonts and patterns */
    int depth = 0;
};

void walkResources(ImageWalk *walk, QPDFObjectHandle resources, const Usage *usage);

/* Whatever has resources of its own. */
void walkInner(ImageWalk *walk, QPDFObjectHandle holder)
{
    if (holder.isIndirect() && !walk->seen.insert(holder.getObjGen()).second)
        return;
    if (walk->depth >= MAX_NESTING)
        return;
    QPDFObjectHandle resources =
        (holder.isStream() ? holder.getDict() : holder).getKey("/Resources");
    const std::map<QPDFObjGen, Usage> &usages = usagesOfForms(walk->document);
    auto known = usages.find(resources.getObjGen());
    bool isKnown = resources.isIndirect() && known != usages.end();
    walk->depth++;
    walkResources(walk, resources, isKnown ? &known->second : nullptr);
    walk->depth--;
}

void walkImage(ImageWalk *walk, QPDFObjectHandle image)
{
    convert(walk->document, *walk->page, image);
    for (const char *key : {"/SMask", "/Mask"})
        if (QPDFObjectHandle mask = image.getDict().getKey(key); mask.isStream())
            convert(walk->document, *walk->page, mask);
}

void walkResource(ImageWalk *walk, int category, QPDFObjectHandle value)
{
    QPDFObjectHandle dict = value.isStream() ? value.getDict() : value;
    if (!dict.isDictionary())
        return;
    std::string subtype = nameOr(dict.getKey("/Subtype"));
    if (category == XOBJECT && value.isStream() && subtype == "/Image")
        return walkImage(walk, value);
    if (category == EXTGSTATE) {
        QPDFObjectHandle group = entryOf(dict.getKey("/SMask"), "/G");
        if (group.isStream())
            walkInner(walk, group);
        return;
    }
    bool isForm = category == XOBJECT && value.isStream() && subtype == "/Form";
    bool isCell = category == PATTERN && value.isStream();
    if (isForm || isCell || (category == FONT && subtype == "/Type3"))
        walkInner(walk, value);
}

/* The resources that `usage` names; all of them where there is none. */
void walkResources(ImageWalk *walk, QPDFObjectHandle resources, const Usage *usage)
{
    for (int category : {XOBJECT, FONT, EXTGSTATE, PATTERN})
        for (auto &[name, value] : entriesOf(entryOf(resources, categoryKey(category)))) {
            bool isKept = !usage || !usage->complete || usage->names[category].count(name) > 0;
            if (isKept)
                walkResource(walk, category, value);
        }
}

/* ---- inline images ---- */

struct InlineImageHandler : Handler {
    bool visit(Rewriter *rewriter, const Operation &operation) override;
};

bool InlineImageHandler::visit(Rewriter *rewriter, const Operation &operation)
{
    Document *document = rewriter->document;
    bool isWanted = document->options.isCanonical || inlineImageNeedsWork(operation);
    if (operation.name != "BI" || !isWanted)
        return false;
    QPDFObjectHandle image = inlineImage(document, rewriter->scope, operation);
    if (!image.isStream())
        return true;
    convert(document, *rewriter->page, image);
    emit(rewriter, nameText(addResource(rewriter, XOBJECT, "/PrI", image)) + " Do");
    return true;
}

} // namespace

bool imageNeedsWork(QPDFObjectHandle image)
{
    return image.isStream() && (hasOddData(image) || imageNeedsColours(image));
}

bool inlineImageNeedsWork(const Operation &operation)
{
    const std::vector<Token> &tokens = operation.operands;
    for (size_t i = 0; i < tokens.size(); i++) {
        std::string_view source = tokens[i].source;
        if (source == "/JPXDecode" || source == "/JBIG2Decode")
            return true;
        bool isDepth = source == "/BPC" || source == "/BitsPerComponent";
        if (isDepth && i + 1 < tokens.size() && tokens[i + 1].kind == TokenKind::NUMBER &&
            numberValue(tokens[i + 1]) == 16)
            return true;
    }
    return false;
}

void convertImages(Document *document, Page *page)
{
    ImageWalk walk{document, page, {}};
    walkResources(&walk, entryOf(*page, "/Resources"), &page->usage);
}

const ContentPass inlineImagePass = {"inline images", NEED_INLINE_IMAGES, [] {
                                         return std::unique_ptr<Handler>(new InlineImageHandler);
                                     }};

namespace {

void watchImage(Walk *walk, int category, const std::string &, QPDFObjectHandle found)
{
    if (category == XOBJECT && imageNeedsWork(found))
        addNeed(walk, NEED_IMAGES);
}

void watchInlineImage(Walk *walk, const Operation &operation)
{
    if (walk->document->options.isCanonical || inlineImageNeedsWork(operation))
        addNeed(walk, NEED_INLINE_IMAGES);
}

} // namespace

const Observer imageObserver = {
    .name = "images", .resource = watchImage, .inlineImage = watchInlineImage};

} // namespace prepare
