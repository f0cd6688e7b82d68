/*
 * zolak_class.h - the converter's class in the object framework
 */
#ifndef PDF_TO_PS_ZOLAK_CLASS_H
#define PDF_TO_PS_ZOLAK_CLASS_H

#include "tools/zolak1_3/pdf_to_ps/frame/instance.h"

/* The class once it has been built, else null. */
extern ZelkovClass *zolak_baseclass;

/* Builds the class at the first call and answers it; null when the framework cannot. */
ZelkovClass *zolak_baseclass_init();

#endif
