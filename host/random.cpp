// Random: a generator of random numbers the program owns, seeded from the system unless
// the program sets Seed (the same seed gives the same numbers again): Number from 0 up
// to 1, InRange over whole numbers, LessThan, and Gaussian (mean 0, deviation 1).
#include "native_members.h"

#include <random>

namespace host {

namespace {

struct RandomData {
  std::mt19937_64 generator{std::random_device{}()};
  int64_t seed = 0;
};

// A whole number from low to high, both included; low when the range is empty.
int64_t inRange(RandomData* random, int64_t low, int64_t high) {
  if (high <= low) return low;
  return std::uniform_int_distribution<int64_t>(low, high)(random->generator);
}

}  // namespace

void installRandomClass(Runtime::Impl& impl) {
  ClassInfo* cls = addBoxedClass<RandomData>(impl, "Random");
  addNativeMethod(cls, "Number() as Double", [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
    RandomData* random = boxedData<RandomData>(runtime, self, cls);
    return Value::ofDouble(random ? std::uniform_real_distribution<double>(0, 1)(random->generator) : 0);
  });
  addNativeMethod(cls, "InRange(low as Integer, high as Integer) as Integer", [cls](Runtime& runtime, const Value& self,
                                                                              std::vector<Value>& args) {
    RandomData* random = boxedData<RandomData>(runtime, self, cls);
    return Value::ofInteger(random ? inRange(random, args.at(0).integer, args.at(1).integer) : 0);
  });
  addNativeMethod(cls, "LessThan(limit as Integer) as Integer", [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    RandomData* random = boxedData<RandomData>(runtime, self, cls);
    return Value::ofInteger(random ? inRange(random, 0, args.at(0).integer - 1) : 0);
  });
  addNativeMethod(cls, "Gaussian() as Double", [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
    RandomData* random = boxedData<RandomData>(runtime, self, cls);
    return Value::ofDouble(random ? std::normal_distribution<double>(0, 1)(random->generator) : 0);
  });
  addNativeProperty(
      cls, "Seed", "Integer",
      [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
        RandomData* random = boxedData<RandomData>(runtime, self, cls);
        return Value::ofInteger(random ? random->seed : 0);
      },
      [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        if (RandomData* random = boxedData<RandomData>(runtime, self, cls)) {
          random->seed = args.at(0).integer;
          random->generator.seed(static_cast<uint64_t>(random->seed));
        }
        return Value::nil();
      });
}

}  // namespace host
