/* The threaded twins of the encoding members ("...MT"): the encoding runs in
   DoImageWork on a worker thread while the host thread keeps yielding to the host's
   other threads; the bytes become a MemoryBlock back on the host thread. The host
   instance stays locked and its image retained for the whole run. */
#import <AppKit/AppKit.h>

#include "convert/data.h"
#include "image/ImageAdditionsQVR.h"
#include "image/NSImageQVR_class.h"
#include "image/NSImageQVR_members.h"
#include "plugin/call_guard.h"
#include "plugin/host_bridge.h"
#include "threads/run_threaded.h"
#include "threads/thread_naming.h"
#include "threads/worker_frame.h"

namespace {

/* Which encoding DoImageWork runs. */
enum ImageWorkOperation : int32_t {
  kImageWorkGIF = 1,
  kImageWorkBMP = 2,
  kImageWorkPNG = 3,
  kImageWorkJPEGWithFactor = 4,
  kImageWorkJPEG = 5,
  kImageWorkTIFF = 6,
  kImageWorkTIFFWithCompression = 7,
};

/* Filled by the member on the host thread; result written by the worker. */
struct DoImageWorkParams {
  NSData* result;      // one reference owned by the caller, or nil
  NSImage* image;      // retained by the caller for the run
  double factor;       // operations 4 and 7
  int32_t operation;
  int32_t compression; // operation 7: a TIFF compression code of the platform
};

NSData* Encode(const DoImageWorkParams& params) {
  NSImage* image = params.image;
  switch (params.operation) {
    case kImageWorkGIF: return [image GIFRepresentationQVR];
    case kImageWorkBMP: return [image BMPRepresentationQVR];
    case kImageWorkPNG: return [image PNGRepresentationQVR];
    case kImageWorkJPEGWithFactor: return [image JPEGRepresentationWithCompressionFactorQVR:(float)params.factor];
    case kImageWorkJPEG: return [image JPEGRepresentationQVR];
    case kImageWorkTIFF: return [image TIFFRepresentation];
    case kImageWorkTIFFWithCompression:
      return [image TIFFRepresentationUsingCompression:(NSTIFFCompression)params.compression
                                                 factor:(float)params.factor];
    default: return nil;
  }
}

void EncodeIntoParams(void* context) {
  auto* params = static_cast<DoImageWorkParams*>(context);
  params->result = [Encode(*params) retain];
}

/* On the worker: no host calls; its own pool; an NSException is logged, not raised. */
void DoImageWork(void* workRecord) {
  NameCurrentThreadQVR("NSImageCompression");
  RunInWorkerFrame(&EncodeIntoParams, workRecord);
}

REALmemoryBlock EncodeThreaded(REALobject self, int32_t operation, double factor = 0, int32_t compression = 0) {
  REALmemoryBlock result = nullptr;
  CocoaGuardPooled([&] {
    DoImageWorkParams params = {};
    REALLockObject(self);
    /* Given back on every way out, also when a platform exception unwinds. */
    struct Hold {
      REALobject object;
      DoImageWorkParams& params;
      ~Hold() {
        [params.image release];
        [params.result release];
        REALUnlockObject(object);
      }
    } hold{self, params};
    params.operation = operation;
    params.factor = factor;
    params.compression = compression;
    params.image = [NSImageQVRDataOf(self)->Handle retain];
    if (params.image == nil) return;
    RunThreaded(&params, &DoImageWork);
    result = NSDataRB(params.result);
  });
  return result;
}

}  // namespace

static REALmemoryBlock GIFRepresentationQVR_MT(REALobject self) { return EncodeThreaded(self, kImageWorkGIF); }
static REALmemoryBlock BMPRepresentationQVR_MT(REALobject self) { return EncodeThreaded(self, kImageWorkBMP); }
static REALmemoryBlock PNGRepresentationQVR_MT(REALobject self) { return EncodeThreaded(self, kImageWorkPNG); }
static REALmemoryBlock JPEGRepresentationQVR_MT(REALobject self) { return EncodeThreaded(self, kImageWorkJPEG); }
static REALmemoryBlock TIFFRepresentation_MT(REALobject self) { return EncodeThreaded(self, kImageWorkTIFF); }

static REALmemoryBlock JPEGRepresentationWithCompressionFactorQVR_MT(REALobject self, double factor) {
  return EncodeThreaded(self, kImageWorkJPEGWithFactor, factor);
}

static REALmemoryBlock TIFFRepresentationUsingCompression_MT(REALobject self, intptr_t comp, double factor) {
  return EncodeThreaded(self, kImageWorkTIFFWithCompression, factor, (int32_t)comp);
}

static const REALmethodDefinition ThreadedEncodingRows[] = {
    MethodRow(&GIFRepresentationQVR_MT, "GIFRepresentationMT as Memoryblock"),
    MethodRow(&BMPRepresentationQVR_MT, "BMPRepresentationMT as Memoryblock"),
    MethodRow(&PNGRepresentationQVR_MT, "PNGRepresentationMT as Memoryblock"),
    MethodRow(&JPEGRepresentationWithCompressionFactorQVR_MT,
              "JPEGRepresentationWithCompressionFactorMT(factor as double) as Memoryblock"),
    MethodRow(&JPEGRepresentationQVR_MT, "JPEGRepresentationMT as Memoryblock"),
    MethodRow(&TIFFRepresentation_MT, "TIFFRepresentationMT as Memoryblock"),
    MethodRow(&TIFFRepresentationUsingCompression_MT,
              "TIFFRepresentationUsingCompressionMT(comp as integer, factor as double) as Memoryblock"),
};

const MemberRows<REALmethodDefinition> NSImageThreadedEncodingMethods = RowsOf(ThreadedEncodingRows);
