/*
 * fields.h - the values of form fields
 */
#ifndef PREPARE_PAGE_FIELDS_H
#define PREPARE_PAGE_FIELDS_H

#include "prepare/document/document.h"

namespace prepare {

/* Gives a text field or choice list an appearance of its value where it lacks one, or the document
 * asks for new ones; a button gets the state of its value.  False: there is text, and its
 * appearance is still to be drawn. */
bool completeField(Document *document, QPDFObjectHandle widget);

/* What a text field shows, and how. */
struct FieldText {
    std::string value;             /* UTF-8 */
    std::string defaultAppearance; /* /DA */
    int quadding = 0;              /* 0 left, 1 centred, 2 right */
    bool hasLines = false;
    int cells = 0; /* of equal width, one for each character; 0: none */
};

FieldText readFieldText(QPDFObjectHandle widget);

} // namespace prepare

#endif
