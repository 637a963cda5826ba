/* Registration of the sibling plugin's classes: the same negotiation as every plugin of
   the family (layout 12 from host 2013.03, 11 from 2013.0, 10 from 2012.0, else 9), and
   for layout-9 hosts the shorter member records those hosts read. The sibling's tables
   carry no marker bits and no events. */
#include "siblings/sibling_registration.h"

#include <cstdlib>
#include <cstring>

#include "siblings/sibling_glue.h"

namespace siblings {

void Start(REALResolver hostResolver) {
  resolver = hostResolver;
  auto registerVersion = reinterpret_cast<void (*)(int32_t)>(resolver ? resolver("RegisterPluginVersion") : nullptr);
  auto getVersion = reinterpret_cast<double (*)()>(resolver ? resolver("REALGetRBVersion") : nullptr);
  if (getVersion) hostVersion = getVersion();
  layoutVersion = hostVersion >= 2013.03 ? 12 : hostVersion >= 2013.0 ? 11 : hostVersion >= 2012.0 ? 10 : 9;
  if (registerVersion) registerVersion(layoutVersion);
}

/* count records of `words` words, the first `words` of each `sourceWords`-word record. */
static void* ShortRecords(const void* source, uintptr_t count, size_t sourceWords, size_t words) {
  if (source == nullptr || count == 0 || count > 0x7FFFFFFFu / (words * sizeof(uintptr_t))) return nullptr;
  auto* copies = static_cast<uintptr_t*>(std::calloc(count, words * sizeof(uintptr_t)));
  if (copies == nullptr) return nullptr;
  auto* from = static_cast<const uintptr_t*>(source);
  for (uintptr_t i = 0; i < count; i++) std::memcpy(copies + i * words, from + i * sourceWords, words * sizeof(uintptr_t));
  return copies;
}

void Register(REALclassDefinition* definition) {
  definition->dataSize = (definition->dataSize + 15) & ~static_cast<uintptr_t>(15);
  if (layoutVersion > 9) {
    definition->version = static_cast<uintptr_t>(layoutVersion);
    RegisterClass(definition);
    return;
  }
  /* Layout 9: the first 25 words, member arrays shortened (kept for the process's life). */
  definition->version = 9;
  definition->properties = static_cast<REALproperty*>(ShortRecords(definition->properties, definition->propertyCount, 12, 10));
  definition->methods = static_cast<REALmethodDefinition*>(ShortRecords(definition->methods, definition->methodCount, 6, 4));
  definition->events = nullptr;
  definition->attributes = nullptr;
  definition->attributeCount = 0;
  definition->constants = static_cast<REALconstant*>(ShortRecords(definition->constants, definition->constantCount, 5, 3));
  definition->sharedProperties = static_cast<REALproperty*>(
      ShortRecords(definition->sharedProperties, definition->sharedPropertyCount, 12, 10));
  definition->sharedMethods = static_cast<REALmethodDefinition*>(
      ShortRecords(definition->sharedMethods, definition->sharedMethodCount, 6, 4));
  RegisterClass(definition);
}

}  // namespace siblings
