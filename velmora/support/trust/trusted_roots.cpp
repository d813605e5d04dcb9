#include "velmora/support/trust/trusted_roots.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <string>
#include <utility>

#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/log/refuse.h"
#include "velmora/support/text/ascii.h"

namespace velmora {
namespace {

struct Root {
  explicit Root(const TrustedRoots::Name& name)
      : subjectDn(name.subjectDn), compactSubjectDn(name.compactSubjectDn) {}

  bool isNamed(std::string_view text) const {
    return text == subjectDn || text == compactSubjectDn;
  }
  // Two names that differ may have one of their texts in common.
  bool mayBe(const TrustedRoots::Name& name) const {
    return isNamed(name.subjectDn) || isNamed(name.compactSubjectDn);
  }
  bool is(const TrustedRoots::Name& name) const {
    return subjectDn == name.subjectDn && compactSubjectDn == name.compactSubjectDn;
  }

  std::string subjectDn;
  std::string compactSubjectDn;
  DataBuffer der;  // empty for a root that was only marked
  DataBuffer publicKey;
  bool implicitlyTrusted = false;
};

// A set and a serial number. Hardly any two roots of a set have the same.
using Key = std::pair<std::string, std::string>;
using KeyView = std::pair<std::string_view, std::string_view>;

struct KeyBefore {
  using is_transparent = void;
  template <class A, class B>
  bool operator()(const A& a, const B& b) const noexcept {
    return KeyView(a) < KeyView(b);
  }
};

struct Registry {
  std::shared_mutex lock;
  std::multimap<Key, Root, KeyBefore> roots;
};

Registry& registry() {
  static Registry instance;
  return instance;
}

struct RootRange {
  using Iterator = decltype(Registry::roots)::iterator;

  Iterator begin() const { return first; }
  Iterator end() const { return last; }

  Iterator first;
  Iterator last;
};

// The roots of a set that have the serial number.
RootRange rootsOf(Registry& r, const char* set, std::string_view serialNumber) {
  const auto [first, last] = r.roots.equal_range(KeyView(viewOrEmpty(set), serialNumber));
  return {first, last};
}

// All roots of a set: they stand in a row, the empty serial number first.
RootRange rootsOf(Registry& r, const char* set) {
  const std::string_view name = viewOrEmpty(set);
  const auto first = r.roots.lower_bound(KeyView(name, {}));
  const auto last = std::find_if(first, r.roots.end(),
                                 [name](const auto& entry) { return entry.first.first != name; });
  return {first, last};
}

// The root of exactly this name, made when there is none. May throw, and changes nothing then.
Root& rootNamed(Registry& r, const char* set, const TrustedRoots::Name& name) {
  for (auto& [key, root] : rootsOf(r, set, name.serialNumber)) {
    if (root.is(name)) return root;
  }
  return r.roots.emplace(Key(viewOrEmpty(set), name.serialNumber), Root(name))->second;
}

// Whether no root that goes by the name has another key.
bool keysAgree(Registry& r, const char* set, const TrustedRoots::Name& name,
               const DataBuffer& publicKey) {
  for (const auto& [key, root] : rootsOf(r, set, name.serialNumber)) {
    if (root.mayBe(name) && !root.der.empty() && !root.publicKey.equals(publicKey)) return false;
  }
  return true;
}

enum class Added { kDone, kOtherKey, kNothing };

Added keepRoot(const char* set, const TrustedRoots::Name& name, const DataBuffer& der,
               const DataBuffer& publicKey) {
  DataBuffer derCopy;
  DataBuffer keyCopy;
  if (!derCopy.append(der) || !keyCopy.append(publicKey)) return Added::kNothing;
  Registry& r = registry();
  const std::unique_lock lock(r.lock);
  if (!keysAgree(r, set, name, keyCopy)) return Added::kOtherKey;
  try {
    Root& root = rootNamed(r, set, name);
    if (root.der.empty()) {
      root.der.swap(derCopy);
      root.publicKey.swap(keyCopy);
    }
    return Added::kDone;
  } catch (const std::bad_alloc&) {
    return Added::kNothing;
  }
}

}  // namespace

bool TrustedRoots::isTrustedRoot(const char* set, std::string_view serialNumber,
                                 std::string_view subjectDn, DataBuffer& rootDer,
                                 bool& implicitlyTrusted, LogBase& log) {
  rootDer.clear();
  implicitlyTrusted = false;
  bool found = false;
  bool complete = true;
  {
    Registry& r = registry();
    const std::shared_lock lock(r.lock);
    for (const auto& [key, root] : rootsOf(r, set, serialNumber)) {
      if (!root.isNamed(subjectDn)) continue;
      found = true;
      implicitlyTrusted = implicitlyTrusted || root.implicitlyTrusted;
      if (rootDer.empty()) complete = rootDer.append(root.der) && complete;
    }
  }
  if (complete) return found;
  rootDer.clear();
  implicitlyTrusted = false;
  return refuse(kOutOfMemory, log);
}

bool TrustedRoots::isTrustedRoot(const char* set, const char* serialNumber, const char* subjectDn,
                                 DataBuffer& rootDer, bool& implicitlyTrusted, LogBase& log) {
  return isTrustedRoot(set, viewOrEmpty(serialNumber), viewOrEmpty(subjectDn), rootDer,
                       implicitlyTrusted, log);
}

bool TrustedRoots::addRoot(const char* set, const Name& name, const DataBuffer& der,
                           const DataBuffer& publicKey, LogBase& log) {
  if (der.empty() || publicKey.empty()) {
    return refuse("A trusted root needs its DER and its public key.", log);
  }
  switch (keepRoot(set, name, der, publicKey)) {
    case Added::kDone:
      return true;
    case Added::kOtherKey:
      return refuse("A trusted root of this name and serial number has another public key.", log);
    default:
      return refuse(kOutOfMemory, log);
  }
}

bool TrustedRoots::trustImplicitly(const char* set, const Name& name, LogBase& log) {
  try {
    Registry& r = registry();
    const std::unique_lock lock(r.lock);
    rootNamed(r, set, name).implicitlyTrusted = true;
    return true;
  } catch (const std::bad_alloc&) {
    return refuse(kOutOfMemory, log);
  }
}

bool TrustedRoots::removeRoot(const char* set, const Name& name) {
  Registry& r = registry();
  const std::unique_lock lock(r.lock);
  const auto range = rootsOf(r, set, name.serialNumber);
  const size_t before = r.roots.size();
  for (auto at = range.begin(); at != range.end();) {
    at = at->second.mayBe(name) ? r.roots.erase(at) : std::next(at);
  }
  return r.roots.size() != before;
}

void TrustedRoots::clear(const char* set) {
  Registry& r = registry();
  const std::unique_lock lock(r.lock);
  const auto range = rootsOf(r, set);
  r.roots.erase(range.begin(), range.end());
}

size_t TrustedRoots::getCount(const char* set) {
  Registry& r = registry();
  const std::shared_lock lock(r.lock);
  const auto range = rootsOf(r, set);
  return static_cast<size_t>(std::distance(range.begin(), range.end()));
}

}  // namespace velmora
