#include "HeapCensus.h"

#include <algorithm>
#include <array>
#include <exception>
#include <tuple>
#include <unordered_map>

#include "ObjectIds.h"

namespace bridge {

LoadedClasses::LoadedClasses(JNIEnv* env) : env_(env) {
  jint count = 0;
  JvmtiPtr<jclass> classes;
  if (jvm.jvmti->GetLoadedClasses(&count, classes.out()) != JVMTI_ERROR_NONE) return;
  expectLocals(env, count);
  all_.reserve(static_cast<std::size_t>(count));
  for (jint i = 0; i < count; ++i) {
    const jlong tag = tagOf(idOf(env, classes[i], ObjectKind::klass));
    if (tag != 0)
      all_.push_back({tag, classes[i]});
    else
      env->DeleteLocalRef(classes[i]);
  }
  std::ranges::sort(all_, {}, &One::tag);
}

LoadedClasses::~LoadedClasses() {
  for (const One& one : all_) env_->DeleteLocalRef(one.klass);
}

jclass LoadedClasses::find(jlong tag) const {
  const auto found = std::ranges::lower_bound(all_, tag, {}, &One::tag);
  return found != all_.end() && found->tag == tag ? found->klass : nullptr;
}

// Counts inside the JVM's pause: no call to the JVM, and no exception may leave.
class Tally {
 public:
  void count(jlong classTag, jint length, jlong size) {
    const Kind kind{classTag, length, size};
    const std::size_t hash = HashKind()(kind);
    Recent& recent = recent_[hash % recent_.size()];
    if (!recent.counted || recent.kind != kind) recent = {kind, &counts_[kind]};
    ++*recent.counted;
  }
  std::vector<ObjectGroup> groups() const {
    std::vector<ObjectGroup> all;
    all.reserve(counts_.size());
    for (const auto& [kind, count] : counts_)
      all.push_back({kind.classTag, kind.length, kind.size, count});
    std::ranges::sort(
        all, {}, [](const ObjectGroup& g) { return std::tuple(g.classTag, g.length, g.size); });
    return all;
  }
  bool failed = false;

 private:
  struct Kind {
    jlong classTag;
    jint length;
    jlong size;
    bool operator==(const Kind&) const = default;
  };
  struct HashKind {
    std::size_t operator()(const Kind& k) const {
      const auto mixed =
          (static_cast<std::size_t>(k.classTag) << 32 ^ static_cast<std::size_t>(k.size) << 1 ^
           static_cast<std::size_t>(k.length)) *
          0x9E3779B97F4A7C15u;
      return mixed >> 20;
    }
  };
  // Most objects are like one that came shortly before; the table's values never move.
  struct Recent {
    Kind kind;
    jlong* counted;
  };
  std::unordered_map<Kind, jlong, HashKind> counts_;
  std::array<Recent, 1024> recent_{};
};

static jint JNICALL onObject(jlong classTag, jlong size, jlong*, jint length,
                             void* tally) noexcept {
  auto& counted = *static_cast<Tally*>(tally);
  try {
    counted.count(classTag, length, size);
    return 0;
  } catch (const std::exception&) {
    counted.failed = true;
    return JVMTI_VISIT_ABORT;
  }
}

// A class may be loaded between its siblings' tagging and the pause; then its objects come without
// a class. Some objects of a fresh JVM belong to classes that it has archived and not loaded: for
// them no repetition helps.
constexpr int kAttempts = 3;

std::optional<HeapCensus> takeCensus(JNIEnv* env) {
  jvmtiHeapCallbacks callbacks{};
  callbacks.heap_iteration_callback = onObject;
  if (jvm.jvmti->ForceGarbageCollection() != JVMTI_ERROR_NONE) return std::nullopt;
  HeapCensus census;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    census.classes = std::make_unique<LoadedClasses>(env);
    const auto tally = std::make_unique<Tally>();
    if (jvm.jvmti->IterateThroughHeap(0, nullptr, &callbacks, tally.get()) != JVMTI_ERROR_NONE ||
        tally->failed)
      return std::nullopt;
    census.groups = tally->groups();
    if (census.groups.empty() || census.groups.front().classTag != 0) break;
  }
  return census;
}

}  // namespace bridge
