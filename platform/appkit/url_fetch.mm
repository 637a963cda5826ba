/* Fetching the bytes behind http and https URLs with libcurl: redirects followed, an
   error status or a failed transfer gives nil, and a size limit keeps a runaway server
   from filling memory. */
#import "image_internal.h"

#include <curl/curl.h>

static const size_t kMaximumBody = (size_t)1 << 30;

static size_t AppendBody(char* bytes, size_t size, size_t count, void* context) {
  NSMutableData* body = (NSMutableData*)context;
  size_t length = size * count;
  if ([body length] + length > kMaximumBody) return 0; /* ends the transfer with an error */
  [body appendBytes:bytes length:length];
  return length;
}

static void InitialiseCurl(void) {
  static bool initialised = (curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK);
  (void)initialised;
}

NSData* URLFetchData(NSURL* url) {
  NSString* scheme = [[url scheme] lowercaseString];
  if (![scheme isEqual:@"http"] && ![scheme isEqual:@"https"]) return nil;
  const char* address = [[url absoluteString] UTF8String];
  if (!address) return nil;
  InitialiseCurl();
  CURL* curl = curl_easy_init();
  if (!curl) return nil;
  NSMutableData* body = [NSMutableData data];
  curl_easy_setopt(curl, CURLOPT_URL, address);
  curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(curl, CURLOPT_MAXREDIRS, 10L);
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L); /* safe on worker threads */
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, 30L);
  curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
  curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, 60L);
  curl_easy_setopt(curl, CURLOPT_FAILONERROR, 1L);
  curl_easy_setopt(curl, CURLOPT_ACCEPT_ENCODING, "");
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, AppendBody);
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, (void*)body);
  CURLcode result = curl_easy_perform(curl);
  curl_easy_cleanup(curl);
  return result == CURLE_OK ? body : nil;
}
