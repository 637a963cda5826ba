// The tour: every registered member of the image plugin's classes, read from the host's
// registration records (methods, shared methods, properties, constructors), called once
// with real arguments and once with nil ones, each on a fresh instance. Arguments are made
// from the declared types (and, for strings, the parameter's name: a path, a URL, image
// bytes), so members that are registered later are toured without a change here.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/plugin_host.h"  // the host runtime, live counts and temporary folders

namespace tour {

// One member call of the tour.
struct Step {
  enum class Kind { Method, Shared, Getter, Setter };
  Kind kind;
  const host::ClassInfo* owner;     // the class that registered the member
  const host::MethodInfo* method = nullptr;
  const host::PropertyInfo* property = nullptr;
  bool nilArguments = false;
  std::string label() const;        // "NSImageQVR.initWithData(data as memoryblock) [nil]"
};

// What one call came to: a short summary of its result ("nil", "int:0", "obj:NSImageQVR",
// "raise:NilObjectException", ...), and a problem when it did something it must not
// (a platform exception escaping, live counts or locks not restored).
struct Outcome {
  std::string result, problem;
  std::string receiver;             // a deep summary of the receiver the call was made on
  std::string bytes;                // the bytes of a MemoryBlock result
};

// Whether a result is neutral: nil, 0, false, "", an empty block, or a host exception.
bool Neutral(const std::string& result);

// A host started with the sibling plugin (when options.siblings) and the image plugin,
// and the classes the image plugin registered.
struct TourHost {
  explicit TourHost(host::Options options);
  std::unique_ptr<host::Runtime> runtime;
  std::vector<const host::ClassInfo*> pluginClasses;
  support::TempFolder folder;
  std::string png, pngPath;         // a small image, and a file of it, that the real arguments give
  host::Value canvas;               // a Picture whose Core Graphics context they draw into (released
                                    // before the runtime, as members are in reverse order)
  int64_t graphicsContext = 0;
};

std::vector<Step> Steps(const TourHost& host);

// Runs one step on fresh values and checks that it gave back what it took: live objects
// and strings, picture and string locks. `around` wraps the member call itself (not the
// making of its receiver and arguments): fault tests arm their failures there.
Outcome Run(TourHost& host, const Step& step,
            const std::function<void(const std::function<void()>&)>& around = nullptr);

// The MT members (names ending in "MT") with their direct twins, for the thread tests.
struct Twin { const host::ClassInfo* owner; const host::MethodInfo *threaded, *direct; bool shared; };
std::vector<Twin> ThreadedTwins(const TourHost& host);

// Fresh arguments for a member (real ones, or nil ones) and a fresh real receiver of a
// class, and a summary of a value deep enough to compare twins (image sizes and encoded bytes).
std::vector<host::Value> Arguments(TourHost& host, const host::MethodInfo& method, bool nil = false);
host::Value RealInstance(TourHost& host, const host::ClassInfo* cls);
std::string Summary(host::Runtime& rt, const host::Value& value, bool deep = false);

}  // namespace tour
