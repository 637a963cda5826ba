// Host objects: allocation with zero-filled instance data after the 24-byte header,
// class constructors along the hierarchy (root first), reference counting, and
// destruction (destructors most-derived first, then the fields the host itself keeps).
// Also the object entry points plugins call: new instances, class references, isa
// tests and locking.
#include "runtime_private.h"

#include "boundary.h"
#include "types.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace host {

namespace {

std::vector<ClassInfo*> hierarchyRootFirst(ClassInfo* cls) {
  std::vector<ClassInfo*> chain;
  for (ClassInfo* c = cls; c; c = c->superclass) chain.insert(chain.begin(), c);
  return chain;
}

bool isMarker(void* accessor) { return accessor == reinterpret_cast<void*>(intptr_t(-1)); }

}  // namespace

bool Runtime::Impl::isLiveObject(const void* object) const {
  return object && liveObjects.count(static_cast<ObjectHeader*>(const_cast<void*>(object))) != 0;
}

unsigned char* Runtime::Impl::instanceData(ObjectHeader* object, const ClassInfo* cls) const {
  return reinterpret_cast<unsigned char*>(object) + cls->dataOffset;
}

ObjectHeader* Runtime::Impl::allocateObject(ClassInfo* cls) {
  if (!cls) return nullptr;
  size_t size = cls->dataOffset + cls->dataSize;
  if (size < sizeof(ObjectHeader)) size = sizeof(ObjectHeader);
  auto* object = static_cast<ObjectHeader*>(std::calloc(1, size));
  if (!object) return nullptr;
  object->cls = cls;
  object->classWord = nullptr;
  object->refCount = 1;
  liveObjects.insert(object);
  return object;
}

ObjectHeader* Runtime::Impl::instantiate(ClassInfo* cls, bool guardCalls) {
  ObjectHeader* object = allocateObject(cls);
  if (!object) return nullptr;
  ObjectRef owner = ObjectRef::adopt(object);  // dropped again if a constructor throws
  for (ClassInfo* c : hierarchyRootFirst(cls)) {
    if (c->nativeConstructor) c->nativeConstructor(runtime, object);
    if (c->constructor) {
      auto fn = reinterpret_cast<void (*)(ObjectHeader*)>(c->constructor);
      if (guardCalls)
        guarded([&] { fn(object); });
      else
        fn(object);
    }
  }
  return owner.release();
}

void Runtime::Impl::lockObject(ObjectHeader* object) {
  if (!isLiveObject(object)) return;
  ++object->refCount;
}

void Runtime::Impl::unlockObject(ObjectHeader* object) {
  if (!isLiveObject(object)) return;
  if (--object->refCount > 0) return;
  if (destroying.count(object)) return;  // a destructor dropped a reference it took
  destroying.insert(object);
  object->refCount = 1;  // destructors may lock and unlock the object they tear down

  for (ClassInfo* c = object->cls; c; c = c->superclass) {
    try {
      if (c->destructor) {
        auto fn = reinterpret_cast<void (*)(ObjectHeader*)>(c->destructor);
        guarded([&] { fn(object); });
      }
      if (c->nativeDestructor) c->nativeDestructor(runtime, object);
    } catch (const std::exception& e) {
      // Nothing above the host can take an exception out of a destructor.
      std::fprintf(stderr, "host: destructor of %s failed: %s\n", c->name.c_str(), e.what());
    }
  }
  // Strings and objects the host keeps in instance data for marker properties.
  for (ClassInfo* c = object->cls; c; c = c->superclass)
    for (const PropertyInfo& p : c->properties) {
      if (!isMarker(p.getter) && !isMarker(p.setter)) continue;
      HostType type = hostType(p.type);
      bool counted = type.kind == TypeKind::String || type.kind == TypeKind::Object || type.kind == TypeKind::Variant;
      if (!counted || p.param < 0 || size_t(p.param) + sizeof(void*) > c->dataSize) continue;
      clearField(*this, type, instanceData(object, c) + p.param);
    }
  destroying.erase(object);
  liveObjects.erase(object);
  std::free(object);
}

// ---- entry points

namespace {

ObjectHeader* pluginNewInstance(const char* className) {
  Runtime::Impl* impl = currentImpl();
  if (!impl || !className) return nullptr;
  ClassInfo* cls = impl->findClass(className);
  if (!cls || cls->name.back() == ')') return nullptr;  // arrays are made by element type
  // Runs only the class constructors: the plugin fills in what its "Constructor"
  // methods would. A platform exception thrown by a constructor goes on to the plugin.
  try {
    return impl->instantiate(cls, false);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "host: cannot create a %s: %s\n", cls->name.c_str(), e.what());
    return nullptr;
  }
}

ClassInfo* pluginObjectType(const char* className) {
  Runtime::Impl* impl = currentImpl();
  if (!impl || !className) return nullptr;
  return impl->findClass(className);
}

int runtimeObjectIsa(ObjectHeader* object, ClassInfo* cls) {
  Runtime::Impl* impl = currentImpl();
  if (!impl || !cls || !impl->isLiveObject(object)) return 0;
  return object->cls->isA(cls) ? 1 : 0;
}

void realLockObject(ObjectHeader* object) {
  if (Runtime::Impl* impl = currentImpl()) impl->lockObject(object);
}

void realUnlockObject(ObjectHeader* object) {
  if (Runtime::Impl* impl = currentImpl()) impl->unlockObject(object);
}

}  // namespace

void addObjectEntryPoints(std::vector<EntryPoint>& table) {
  table.push_back({"PluginNewInstance", guardedEntryPoint<&pluginNewInstance>("PluginNewInstance")});
  table.push_back({"pluginObjectType", guardedEntryPoint<&pluginObjectType>("pluginObjectType")});
  table.push_back({"RuntimeObjectIsa", guardedEntryPoint<&runtimeObjectIsa>("RuntimeObjectIsa")});
  table.push_back({"REALLockObject", guardedEntryPoint<&realLockObject>("REALLockObject")});
  table.push_back({"REALUnlockObject", guardedEntryPoint<&realUnlockObject>("REALUnlockObject")});
}

}  // namespace host
