/* Plugin start and class registration: version negotiation with the host, rewriting of
   the plugin's marker bits in member flags, and handing class records to the host in the
   layout it understands (layout 9 gets converted copies of the member records). */
#ifndef QVR_PLUGIN_REGISTRATION_H
#define QVR_PLUGIN_REGISTRATION_H

#include <stdint.h>

#include "plugin/host_sdk.h"

/* The host version as the host reports it (0.0 when it cannot), and the negotiated
   record layout version (9 to 12). Written once, by REALPluginMain. */
extern double rbversion_rbversion;
extern int32_t CurrentREALControlVersion;

/* Steps of REALPluginMain before the classes are registered: keep the resolver, read the
   host version, negotiate the layout and tell the host. */
void PluginStartQVR(REALResolver resolver);
/* The layout version for a host version: 12 from 2013.03, 11 from 2013.0, 10 from
   2012.0, else (also for 0.0 and NaN) 9. */
int32_t NegotiatedLayoutVersion(double hostVersion);

/* Rewrites the marker bits of a class's flags in place, for the host version read. */
void FixConsoleFlags(REALclassDefinition* definition);
/* Registers one class, adapting the record to the negotiated layout first. */
void MyREALRegisterClass(REALclassDefinition* definition);
/* Layout-9 copies of properties (10 words each, attributes dropped), or null. */
uintptr_t* FixProperties(const REALproperty* properties, uintptr_t count);

/* The image classes of this plugin, flags fixed and registered in the host's order. */
void RegisterImageClassesQVR(void);

#endif
