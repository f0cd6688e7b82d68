/*
 * fields.cpp - appearances of field values, as far as libqpdf makes them
 *
 * libqpdf sets one line of text from the left, in the field's own font, and lists of choices.
 * Centred text, several lines and cells are drawn by us; what already has an appearance of that
 * kind keeps it.
 */
#include "prepare/page/fields.h"

#include <algorithm>

#include <qpdf/QPDFAnnotationObjectHelper.hh>
#include <qpdf/QPDFFormFieldObjectHelper.hh>

namespace prepare {

namespace {

/* Bits of a field's /Ff. */
enum FieldFlag { MULTILINE = 1 << 12, PASSWORD = 1 << 13, PUSH_BUTTON = 1 << 16, COMB = 1 << 24 };

constexpr int MAX_FIELD_DEPTH = 64;

/* Each inherited value walks the field's ancestors, so there may not be many. */
bool isTooDeep(QPDFObjectHandle field)
{
    for (int depth = 0; depth < MAX_FIELD_DEPTH; depth++) {
        field = entryOf(field, "/Parent");
        if (!field.isDictionary())
            return false;
    }
    return true;
}

QPDFObjectHandle formOf(Document *document)
{
    try {
        return entryOf(document->source.pdf.getRoot(), "/AcroForm");
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &) {
        return QPDFObjectHandle::newNull(); /* no catalogue */
    }
}

bool wantsAppearances(Document *document)
{
    return isTrue(entryOf(formOf(document), "/NeedAppearances"));
}

/* The state of a check box or radio button. */
void setState(Document *document, QPDFFormFieldObjectHelper *field, QPDFObjectHandle widget)
{
    QPDFObjectHandle states = entryOf(widget.getKey("/AP"), "/N");
    if ((field->getFlags() & PUSH_BUTTON) || !states.isDictionary())
        return;
    if (widget.getKey("/AS").isName() && !wantsAppearances(document))
        return;
    std::string value = nameOr(field->getValue(), "/Off");
    if (!states.hasKey(value))
        value = "/Off";
    widget.replaceKey("/AS", QPDFObjectHandle::newName(value));
}

/* The font that /DA names stands in the form's resources? */
bool hasFont(Document *document, const std::string &appearance)
{
    QPDFObjectHandle fonts = entryOf(entryOf(formOf(document), "/DR"), "/Font");
    for (auto &[name, font] : entriesOf(fonts))
        if (font.isDictionary() && appearance.find(name + " ") != std::string::npos)
            return true;
    return false;
}

/* libqpdf leaves its text to a filter of the stream; the result becomes the stream. */
void settle(Document *document, QPDFObjectHandle widget)
{
    QPDFObjectHandle made = entryOf(widget.getKey("/AP"), "/N");
    if (!made.isStream())
        return;
    bool damaged = false;
    std::string content = decodeStream(made, MAX_CONTENT_BYTES, &damaged);
    QPDFObjectHandle plain = newFlateStream(&document->source.pdf, content);
    for (const char *key : {"/BBox", "/Matrix", "/Resources"})
        if (made.getDict().hasKey(key))
            plain.getDict().replaceKey(key, made.getDict().getKey(key));
    QPDFObjectHandle appearances = QPDFObjectHandle::newDictionary();
    appearances.replaceKey("/N", plain);
    widget.replaceKey("/AP", appearances);
}

bool completeText(Document *document, QPDFFormFieldObjectHelper *field, QPDFObjectHandle widget)
{
    bool hasOne = entryOf(widget.getKey("/AP"), "/N").isStream();
    FieldText text = readFieldText(widget);
    if ((hasOne && !wantsAppearances(document)) || text.value.empty())
        return true;
    bool isPlain = text.quadding == 0 && !text.hasLines && text.cells == 0 &&
                   hasFont(document, text.defaultAppearance) &&
                   std::none_of(text.value.begin(), text.value.end(),
                                [](char c) { return (signed char)c < 0; });
    if (!isPlain && !field->isChoice())
        return hasOne;
    QPDFAnnotationObjectHelper annotation(widget);
    field->generateAppearance(annotation);
    settle(document, widget);
    return true;
}

} // namespace

FieldText readFieldText(QPDFObjectHandle widget)
{
    QPDFFormFieldObjectHelper field(widget);
    FieldText text;
    int flags = field.getFlags();
    if (!field.isText() && !field.isChoice())
        return text;
    if (flags & PASSWORD && field.isText())
        return text;
    text.value = field.getValueAsString();
    text.defaultAppearance = field.getDefaultAppearance();
    text.quadding = field.getQuadding();
    text.hasLines = field.isText() && (flags & MULTILINE);
    if (field.isText() && (flags & COMB))
        text.cells = std::clamp(integerOr(field.getInheritableFieldValue("/MaxLen"), 0), 0, 1000);
    return text;
}

bool completeField(Document *document, QPDFObjectHandle widget)
{
    if (isTooDeep(widget))
        return true;
    QPDFFormFieldObjectHelper field(widget);
    if (field.getFieldType() == "/Btn")
        setState(document, &field, widget);
    else if (field.isText() || field.isChoice())
        return completeText(document, &field, widget);
    return true;
}

} // namespace prepare
