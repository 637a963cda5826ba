/* The plugin's one exported entry point. The host calls it once, on its own thread,
   before any class of the plugin is used. */
#include "plugin/host_sdk.h"
#include "plugin/registration.h"

extern "C" __attribute__((visibility("default"))) void REALPluginMain(REALResolver resolver) {
  PluginStartQVR(resolver);
  RegisterImageClassesQVR();
}
