/* Type identifiers of the Core Graphics types that only need to be told apart here
   (layers, fonts, PostScript converters). Every Core Graphics type ID lies at 200 or
   above, apart from the Core Foundation ones. */
#ifndef QVR_CGTYPEIDS_H
#define QVR_CGTYPEIDS_H

#include <CoreGraphics/CGBase.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct CGLayer* CGLayerRef;
typedef struct CGFont* CGFontRef;
typedef struct CGPSConverter* CGPSConverterRef;

CFTypeID CGLayerGetTypeID(void);
CFTypeID CGFontGetTypeID(void);
CFTypeID CGPSConverterGetTypeID(void);

#ifdef __cplusplus
}
#endif

#endif
