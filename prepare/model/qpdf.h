/*
 * qpdf.h - libqpdf's document and objects
 *
 * Its JSON header declares members of a type that is not complete there, which clang++ does not
 * take in C++20.  Nothing here uses JSON, so the type stays declared and that header is kept out;
 * other headers of libqpdf are to be included behind this one.
 */
#ifndef PREPARE_MODEL_QPDF_H
#define PREPARE_MODEL_QPDF_H

#define JSON_HH
class JSON;

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>

#endif
