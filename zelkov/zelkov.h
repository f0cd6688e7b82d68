/*
 * zelkov.h - the whole host layer
 */
#ifndef ZELKOV_ZELKOV_H
#define ZELKOV_ZELKOV_H

#include "zelkov/attribute.h"
#include "zelkov/cleanup.h"
#include "zelkov/control.h"
#include "zelkov/file.h"
#include "zelkov/filespec.h"
#include "zelkov/format.h"
#include "zelkov/host.h"
#include "zelkov/instance.h"
#include "zelkov/memzone.h"
#include "zelkov/text.h"

#endif
