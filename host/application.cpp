// The application class of the host's kind: "Application" for desktop programs,
// "ConsoleApplication" for console programs, "WebApplication" for web programs. Plugins
// find out which kind of host they run in by asking for these classes.
#include "runtime_private.h"

namespace host {

void installApplicationClass(Runtime::Impl& impl) {
  switch (impl.options.kind) {
    case AppKind::Desktop: impl.addBuiltInClass("Application", "", 0); break;
    case AppKind::Console: impl.addBuiltInClass("ConsoleApplication", "", 0); break;
    case AppKind::Web: impl.addBuiltInClass("WebApplication", "", 0); break;
  }
}

}  // namespace host
