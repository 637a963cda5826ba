/* The sibling plugin's own access to the host: the resolver it was given and the few
   host entry points its classes use, each resolved on first use and cached. A missing
   entry point gives the neutral result. */
#ifndef QVR_SIBLINGS_SIBLING_GLUE_H
#define QVR_SIBLINGS_SIBLING_GLUE_H

#include <CoreFoundation/CoreFoundation.h>

#include "plugin/host_sdk.h"

namespace siblings {

extern REALResolver resolver;
extern double hostVersion;
extern int32_t layoutVersion;

REALobject NewInstance(const char* className);
void LockObject(REALobject object);
void UnlockObject(REALobject object);
void UnlockString(REALstring string);
bool SetPropertyString(REALobject object, const char* name, REALstring value);
bool SetPropertyInt32(REALobject object, const char* name, int32_t value);
void RegisterClass(REALclassDefinition* definition);

/* A new UTF-8 host string for a platform string (null for null or empty). */
REALstring HostString(CFStringRef string);
/* A new platform string the caller owns for a host string (null for the empty string). */
CFStringRef CopyPlatformString(REALstring string);

/* Instance data of a class registered by this plugin. */
template <typename Data>
Data* InstanceData(const REALclassDefinition& definition, REALobject object) {
  return reinterpret_cast<Data*>(reinterpret_cast<char*>(object) + definition.forSystemUse);
}

}  // namespace siblings

#endif
