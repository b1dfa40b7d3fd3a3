// Points, sizes and rectangles of doubles, and their dictionary forms: "X", "Y", "Width" and "Height" with numbers.

#pragma once

#include "Foundation/Collections/ZoDictionary.h"

ZO_EXTERN_C_BEGIN

typedef double WnFloat;

typedef struct WnPoint {
    WnFloat x;
    WnFloat y;
} WnPoint;

typedef struct WnSize {
    WnFloat width;
    WnFloat height;
} WnSize;

typedef struct WnRect {
    WnPoint origin;
    WnSize size;
} WnRect;

typedef struct WnAffineTransform {
    WnFloat a, b, c, d, tx, ty;
} WnAffineTransform;

/// A new dictionary, or nothing when memory is out.
ZoDictionaryRef WnPointCreateDictionaryRepresentation(WnPoint point);
ZoDictionaryRef WnSizeCreateDictionaryRepresentation(WnSize size);
ZoDictionaryRef WnRectCreateDictionaryRepresentation(WnRect rect);

/// False, with the out value left alone, unless every key is there with a number. Other keys do no harm.
Boolean WnPointMakeWithDictionaryRepresentation(ZoDictionaryRef dictionary, WnPoint* point);
Boolean WnSizeMakeWithDictionaryRepresentation(ZoDictionaryRef dictionary, WnSize* size);
Boolean WnRectMakeWithDictionaryRepresentation(ZoDictionaryRef dictionary, WnRect* rect);

ZO_EXTERN_C_END
