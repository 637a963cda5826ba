/* Start-up and class registration of the sibling plugin. */
#ifndef QVR_SIBLINGS_SIBLING_REGISTRATION_H
#define QVR_SIBLINGS_SIBLING_REGISTRATION_H

#include "plugin/host_sdk.h"

namespace siblings {

/* Keeps the resolver, reads the host version and tells the host the layout. */
void Start(REALResolver resolver);
/* Registers one class in the negotiated layout. */
void Register(REALclassDefinition* definition);

}  // namespace siblings

#endif
