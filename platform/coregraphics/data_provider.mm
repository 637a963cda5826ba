/* Data providers: a span of bytes that an image reads, either the caller's memory (handed
   back through its callback when the provider goes) or a retained CFData. */
#include "cg_internal.h"

@implementation CGDataProviderObject
- (CFTypeID)_cfTypeID {
  return kQVRTypeIDCGDataProvider;
}
- (void)dealloc {
  if (releaseData) releaseData(info, bytes, length);
  [data release];
  [super dealloc];
}
@end

static CGDataProviderObject* ProviderObject(CGDataProviderRef provider) {
  id object = CGObject(provider);
  return [object isKindOfClass:[CGDataProviderObject class]] ? (CGDataProviderObject*)object : nil;
}

CGDataProviderRef CGDataProviderCreateWithData(void* info, const void* data, size_t size,
                                               CGDataProviderReleaseDataCallback releaseData) {
  if (!data && size) return NULL;
  CGDataProviderObject* provider = [[CGDataProviderObject alloc] init];
  provider->bytes = (const uint8_t*)data;
  provider->length = size;
  provider->info = info;
  provider->releaseData = releaseData;
  return CGRef<CGDataProviderRef>(provider);
}

CGDataProviderRef CGDataProviderCreateWithCFData(CFDataRef data) {
  id object = (id)(void*)data;
  if (![object isKindOfClass:[NSData class]]) return NULL;
  CGDataProviderObject* provider = [[CGDataProviderObject alloc] init];
  provider->data = [(NSData*)object retain];
  provider->bytes = (const uint8_t*)[provider->data bytes];
  provider->length = [provider->data length];
  return CGRef<CGDataProviderRef>(provider);
}

CGDataProviderRef CGDataProviderRetain(CGDataProviderRef provider) {
  [CGObject(provider) retain];
  return provider;
}

void CGDataProviderRelease(CGDataProviderRef provider) { [CGObject(provider) release]; }

CFDataRef CGDataProviderCopyData(CGDataProviderRef provider) {
  CGDataProviderObject* object = ProviderObject(provider);
  if (!object) return NULL;
  return (CFDataRef)(void*)[[NSData alloc] initWithBytes:object->bytes length:object->length];
}
