/* The MT factories of NSImageQVR: the slow part of making an image (decoding, reading a
   file, fetching a URL) runs in DoWork on a worker thread while the calling host thread
   keeps yielding to the host's other threads. The host thread makes the input, retained,
   before the run, and wraps the result after it; the worker touches no host object. */
#import <AppKit/AppKit.h>

#include "convert/data.h"
#include "convert/file_urls.h"
#include "convert/wrappers.h"
#include "image/NSImageQVR_members.h"
#include "image/creation_inputs.h"
#include "plugin/call_guard.h"
#include "plugin/errors.h"
#include "threads/run_threaded.h"
#include "threads/thread_naming.h"
#include "threads/worker_frame.h"

namespace {

/* The work record: exactly one input is set, holding one retain; DoWork writes result,
   an owned image or nil. */
struct DoWorkParams {
  NSData* data;
  NSURL* url;
  NSString* path;
  NSImage* result;
};

void MakeImage(void* record) {
  auto* params = static_cast<DoWorkParams*>(record);
  if (params->data != nil) params->result = [[NSImage alloc] initWithData:params->data];
  if (params->url != nil) params->result = [[NSImage alloc] initWithContentsOfURL:params->url];
  if (params->path != nil) params->result = [[NSImage alloc] initWithContentsOfFile:params->path];
}

void DoWork(void* record) {
  NameCurrentThreadQVR("NSImageLoad");
  RunInWorkerFrame(&MakeImage, record);
}

/* The record's references, given back on every way out of the factory (also when an
   exception unwinds through it). */
struct DoWorkRecord {
  DoWorkParams params = {nil, nil, nil, nil};
  ~DoWorkRecord() {
    [params.result release];
    [params.data release];
    [params.url release];
    [params.path release];
  }
};

/* fill stores the retained input in the record; a record left without input still runs
   and gives nil, as the direct factories give nil for a nil input. */
template <typename Fill>
REALobject LoadThreaded(Fill&& fill) {
  REALobject result = nullptr;
  CocoaGuardFull([&] {
    DoWorkRecord record;
    fill(record.params);
    RunThreaded(&record.params, &DoWork);
    result = NewNSImageQVR(record.params.result);
  });
  return result;
}

REALobject imageWithDataSMT(REALstring data) {
  if (ArgumentIsNil(data, "Data is empty")) return nullptr;
  return LoadThreaded([&](DoWorkParams& params) { params.data = [NewNSDataFromStringBytes(data) retain]; });
}

REALobject imageWithDataMMT(REALmemoryBlock data) {
  if (ArgumentIsNil(data, "Memoryblock is nil")) return nullptr;
  return LoadThreaded([&](DoWorkParams& params) { params.data = [NewNSData(data) retain]; });
}

REALobject imageWithContentsOfURLFileMT(REALfolderItem file) {
  if (ArgumentIsNil(file, "Folderitem is nil")) return nullptr;
  return LoadThreaded([&](DoWorkParams& params) { params.url = [NewNSURLfile(file) retain]; });
}

REALobject imageWithContentsOfPathMT(REALstring path) {
  if (ArgumentIsNil(path, "Path is empty")) return nullptr;
  return LoadThreaded([&](DoWorkParams& params) { params.path = [NewNSStringFromRBString(path) retain]; });
}

REALobject imageWithContentsOfURLMT(REALstring url) {
  if (ArgumentIsNil(url, "URL is empty")) return nullptr;
  return LoadThreaded([&](DoWorkParams& params) { params.url = [NewNSURLFromString(url) retain]; });
}

template <typename Function>
REALmethodDefinition Method(Function function, const char* declaration) {
  return {reinterpret_cast<void*>(function), nullptr, declaration, REALflagHost4, 0, nullptr};
}

const REALmethodDefinition SharedRows[] = {
    Method(&imageWithDataSMT, "imageWithDataMT(data as string) as NSImageQVR"),
    Method(&imageWithDataMMT, "imageWithDataMT(data as memoryblock) as NSImageQVR"),
    Method(&imageWithContentsOfURLFileMT, "imageWithContentsOfFileMT(file as folderitem) as NSImageQVR"),
    Method(&imageWithContentsOfPathMT, "imageWithContentsOfPathMT(path as string) as NSImageQVR"),
    Method(&imageWithContentsOfURLMT, "imageWithContentsOfURLMT(URL as string) as NSImageQVR"),
};

}  // namespace

const MemberRows<REALmethodDefinition> NSImageThreadedCreationSharedMethods = RowsOf(SharedRows);
