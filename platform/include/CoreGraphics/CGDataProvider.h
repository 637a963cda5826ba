/* Data providers: the bytes behind a CGImage, either the caller's memory (given back
   through a release callback when the provider goes) or a retained CFData. */
#ifndef QVR_CGDATAPROVIDER_H
#define QVR_CGDATAPROVIDER_H

#include <CoreGraphics/CGBase.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct CGDataProvider* CGDataProviderRef;

typedef void (*CGDataProviderReleaseDataCallback)(void* info, const void* data, size_t size);

CGDataProviderRef CGDataProviderCreateWithData(void* info, const void* data, size_t size,
                                               CGDataProviderReleaseDataCallback releaseData);
CGDataProviderRef CGDataProviderCreateWithCFData(CFDataRef data);
CGDataProviderRef CGDataProviderRetain(CGDataProviderRef provider);
void CGDataProviderRelease(CGDataProviderRef provider);
/* A new CFData with a copy of the provider's bytes, owned by the caller. */
CFDataRef CGDataProviderCopyData(CGDataProviderRef provider);
CFTypeID CGDataProviderGetTypeID(void);

/* Data consumers (only their type is known here). */
typedef struct CGDataConsumer* CGDataConsumerRef;
CFTypeID CGDataConsumerGetTypeID(void);

#ifdef __cplusplus
}
#endif

#endif
