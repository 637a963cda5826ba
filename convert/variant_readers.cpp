/* The readers of a Variant's value. Each keeps its own cell for its host entry point,
   resolved on first use and asked again while it stays null; a host without the entry
   point is read through the Variant's property of the same meaning instead. */
#include "convert/variants.h"

#include "plugin/host_bridge.h"

namespace {

template <typename Function>
Function Resolved(void*& cell, const char* name) {
  if (cell == nullptr && gResolver != nullptr) cell = gResolver(name);
  return reinterpret_cast<Function>(cell);
}

void* VarTypeCell = nullptr;
void* VariantToStringCell = nullptr;
void* VariantToInt32Cell = nullptr;
void* VariantToInt64Cell = nullptr;
void* VariantToSingleCell = nullptr;
void* VariantToDoubleCell = nullptr;

}  // namespace

int32_t GetVariantType(REALobject value) {
  if (VarTypeCell == nullptr) VarTypeCell = REALLoadFrameworkMethod("VarType(value As Variant) As Int32");
  if (auto varType = reinterpret_cast<int32_t (*)(REALobject)>(VarTypeCell)) return varType(value);
  int32_t type = 0;
  return REALGetPropValueInt32(value, "Type", &type) ? type : 0;
}

REALstring GetVariantString(REALobject value) {
  if (auto entry = Resolved<REALstring (*)(REALobject)>(VariantToStringCell, "VariantToString")) return entry(value);
  REALstring string = nullptr;
  return REALGetPropValueString(value, "StringValue", &string) ? string : nullptr;
}

int32_t GetVariantInt32(REALobject value) {
  if (auto entry = Resolved<int32_t (*)(REALobject)>(VariantToInt32Cell, "VariantToInt32")) return entry(value);
  int32_t number = 0;
  return REALGetPropValueInt32(value, "Int32Value", &number) ? number : 0;
}

int64_t GetVariantInt64(REALobject value) {
  if (auto entry = Resolved<int64_t (*)(REALobject)>(VariantToInt64Cell, "VariantToInt64")) return entry(value);
  int64_t number = 0;
  return REALGetPropValueInt64(value, "LongValue", &number) ? number : 0;
}

float GetVariantSingle(REALobject value) {
  if (auto entry = Resolved<float (*)(REALobject)>(VariantToSingleCell, "VariantToSingle")) return entry(value);
  float number = 0;
  return REALGetPropValueSingle(value, "SingleValue", &number) ? number : 0;
}

double GetVariantDouble(REALobject value) {
  if (auto entry = Resolved<double (*)(REALobject)>(VariantToDoubleCell, "VariantToDouble")) return entry(value);
  double number = 0;
  return REALGetPropValueDouble(value, "DoubleValue", &number) ? number : 0;
}
