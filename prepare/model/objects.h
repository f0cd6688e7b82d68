/*
 * objects.h - small readers of objects, each with an answer for whatever it is given
 */
#ifndef PREPARE_MODEL_OBJECTS_H
#define PREPARE_MODEL_OBJECTS_H

#include <map>
#include <string>

#include "prepare/model/geometry.h"
#include "prepare/model/qpdf.h"

namespace prepare {

/* An entry of a dictionary; null of anything else. */
QPDFObjectHandle entryOf(QPDFObjectHandle object, const char *key);

/* The entries of a dictionary; none of anything else. */
std::map<std::string, QPDFObjectHandle> entriesOf(QPDFObjectHandle object);

/* The value of a number, or what is given instead. */
double numberOr(QPDFObjectHandle object, double otherwise);
int integerOr(QPDFObjectHandle object, int otherwise);

bool isTrue(QPDFObjectHandle object);

/* The name with its slash, or nothing. */
std::string nameOr(QPDFObjectHandle object, const std::string &otherwise = "");

/* Kinds of XObjects. */
bool isForm(QPDFObjectHandle object);
bool isImage(QPDFObjectHandle object);
bool isStencil(QPDFObjectHandle object); /* an image mask */

/* Is the form a transparency group? */
bool isGroup(QPDFObjectHandle form);

/* An array of six numbers as a matrix; that of no change from anything else. */
Matrix matrixOf(QPDFObjectHandle array);

/* A box from an array of four numbers in any order; EVERYTHING from anything else. */
Box boxOf(QPDFObjectHandle array);

} // namespace prepare

#endif
