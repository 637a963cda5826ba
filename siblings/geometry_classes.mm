/* The geometry value classes NSSizeQVR, NSPointQVR, NSRangeQVR and NSRectQVR. Their
   instance data is the platform's 32-bit layout, which image plugins of the family read
   and write directly: sizes, points and rectangles as 32-bit floats (width, height; x, y;
   x, y, width, height), ranges as 32-bit unsigned location and length. The host reads and
   writes the fields itself; host doubles are narrowed to float when stored. */
#include "siblings/geometry_classes.h"

#include <cstdint>
#include <limits>

#include "siblings/sibling_glue.h"

namespace {

struct SizeData {
  float width, height;
};
struct PointData {
  float x, y;
};
struct RangeData {
  uint32_t location, length;
};
struct RectData {
  float x, y, width, height;
};

static_assert(sizeof(RectData) == 16, "four 32-bit floats");

REALproperty Field(const char* name, const char* type, intptr_t offset) {
  return {nullptr, name, type, 0x6, REALstandardAccessor, REALstandardAccessor, offset, nullptr, 0, nullptr, 0, nullptr};
}

REALmethodDefinition Method(void* function, const char* declaration) {
  return {function, nullptr, declaration, 0x4, 0, nullptr};
}

REALclassDefinition ValueClass(const char* name, size_t dataSize, REALproperty* properties, size_t propertyCount,
                               REALmethodDefinition* methods, size_t methodCount) {
  return {kREALCurrentControlVersion, name, nullptr, dataSize, 0, nullptr, nullptr, properties, propertyCount,
          methods, methodCount, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, nullptr, 0, 0x4, nullptr, 0, nullptr, 0,
          nullptr, 0, nullptr, 0};
}

/* A host Integer stored in a 32-bit unsigned field: values outside the range are clamped. */
uint32_t ClampedUInt32(intptr_t value) {
  if (value < 0) return 0;
  if (static_cast<uintmax_t>(value) > std::numeric_limits<uint32_t>::max()) return std::numeric_limits<uint32_t>::max();
  return static_cast<uint32_t>(value);
}

/* "Constructor" without arguments: the host zero-fills the instance data. */
void EmptyConstructor(REALobject) {}

/* NSSizeQVR */
void SizeConstructor(REALobject self, double width, double height);
REALproperty SizeProperties[] = {Field("Width", "Single", 0), Field("Height", "Single", 4)};
REALmethodDefinition SizeMethods[] = {
    Method(reinterpret_cast<void*>(&EmptyConstructor), "Constructor"),
    Method(reinterpret_cast<void*>(&SizeConstructor), "Constructor(width as double, height as double)")};

/* NSPointQVR */
void PointConstructor(REALobject self, double x, double y);
REALproperty PointProperties[] = {Field("X", "Single", 0), Field("Y", "Single", 4)};
REALmethodDefinition PointMethods[] = {
    Method(reinterpret_cast<void*>(&EmptyConstructor), "Constructor"),
    Method(reinterpret_cast<void*>(&PointConstructor), "Constructor(x as double, y as double)")};

/* NSRangeQVR */
void RangeConstructor(REALobject self, intptr_t location, intptr_t length);
int64_t RangeMax(REALobject self);
bool RangeContains(REALobject self, intptr_t location);
REALproperty RangeProperties[] = {Field("Location", "UInt32", 0), Field("Length", "UInt32", 4)};
REALmethodDefinition RangeMethods[] = {
    Method(reinterpret_cast<void*>(&EmptyConstructor), "Constructor"),
    Method(reinterpret_cast<void*>(&RangeConstructor), "Constructor(location as integer, length as integer)"),
    Method(reinterpret_cast<void*>(&RangeMax), "MaxRange as Int64"),
    Method(reinterpret_cast<void*>(&RangeContains), "Contains(location as integer) as boolean"),
};

/* NSRectQVR */
void RectConstructor(REALobject self, double x, double y, double width, double height);
bool RectContains(REALobject self, double x, double y);
bool RectIsEmpty(REALobject self);
REALproperty RectProperties[] = {Field("X", "Single", 0), Field("Y", "Single", 4), Field("Width", "Single", 8),
                                 Field("Height", "Single", 12)};
REALmethodDefinition RectMethods[] = {
    Method(reinterpret_cast<void*>(&EmptyConstructor), "Constructor"),
    Method(reinterpret_cast<void*>(&RectConstructor),
           "Constructor(x as double, y as double, width as double, height as double)"),
    Method(reinterpret_cast<void*>(&RectContains), "Contains(x as double, y as double) as boolean"),
    Method(reinterpret_cast<void*>(&RectIsEmpty), "IsEmpty as boolean"),
};

}  // namespace

REALclassDefinition NSSizeQVRClass = ValueClass("NSSizeQVR", sizeof(SizeData), SizeProperties, 2, SizeMethods, 2);
REALclassDefinition NSPointQVRClass = ValueClass("NSPointQVR", sizeof(PointData), PointProperties, 2, PointMethods, 2);
REALclassDefinition NSRangeQVRClass = ValueClass("NSRangeQVR", sizeof(RangeData), RangeProperties, 2, RangeMethods, 4);
REALclassDefinition NSRectQVRClass = ValueClass("NSRectQVR", sizeof(RectData), RectProperties, 4, RectMethods, 4);

namespace {

void SizeConstructor(REALobject self, double width, double height) {
  auto* data = siblings::InstanceData<SizeData>(NSSizeQVRClass, self);
  data->width = static_cast<float>(width);
  data->height = static_cast<float>(height);
}

void PointConstructor(REALobject self, double x, double y) {
  auto* data = siblings::InstanceData<PointData>(NSPointQVRClass, self);
  data->x = static_cast<float>(x);
  data->y = static_cast<float>(y);
}

void RangeConstructor(REALobject self, intptr_t location, intptr_t length) {
  auto* data = siblings::InstanceData<RangeData>(NSRangeQVRClass, self);
  data->location = ClampedUInt32(location);
  data->length = ClampedUInt32(length);
}

int64_t RangeMax(REALobject self) {
  auto* data = siblings::InstanceData<RangeData>(NSRangeQVRClass, self);
  return static_cast<int64_t>(data->location) + static_cast<int64_t>(data->length);
}

bool RangeContains(REALobject self, intptr_t location) {
  auto* data = siblings::InstanceData<RangeData>(NSRangeQVRClass, self);
  return location >= static_cast<intptr_t>(data->location) && location < static_cast<intptr_t>(RangeMax(self));
}

void RectConstructor(REALobject self, double x, double y, double width, double height) {
  auto* data = siblings::InstanceData<RectData>(NSRectQVRClass, self);
  data->x = static_cast<float>(x);
  data->y = static_cast<float>(y);
  data->width = static_cast<float>(width);
  data->height = static_cast<float>(height);
}

/* As the platform's NSPointInRect for an unflipped rectangle: the lower and left edges
   are inside, the upper and right edges outside. */
bool RectContains(REALobject self, double x, double y) {
  auto* data = siblings::InstanceData<RectData>(NSRectQVRClass, self);
  float px = static_cast<float>(x), py = static_cast<float>(y);
  return px >= data->x && py >= data->y && px < data->x + data->width && py < data->y + data->height;
}

bool RectIsEmpty(REALobject self) {
  auto* data = siblings::InstanceData<RectData>(NSRectQVRClass, self);
  return !(data->width > 0 && data->height > 0);
}

}  // namespace
