#pragma once

// The roots that the application trusts.

#include <cstddef>
#include <string_view>

#include "velmora/support/core/export.h"
#include "velmora/support/log/log_base.h"
#include "velmora/support/text/data_buffer.h"

namespace velmora {

/// The application's registry of trusted root certificates, one for the whole process. It parses
/// nothing: a root is known by its serial number and the text of its subject name, exactly as
/// whoever asks renders them (x509/trusted_root_registration.h registers certificates). A registry
/// in which nothing was registered trusts nothing.
///
/// A root that was registered with its DER is trusted explicitly: whoever asks is to compare the
/// public key. A root that was marked is trusted implicitly, by its name and serial number alone;
/// that never comes from anything but the application's own call.
///
/// Roots are kept in sets with names. Null and the empty name are the default set, the one that
/// verification asks; other sets are the application's own to ask.
///
/// Every operation may be called from any thread; readers never wait for each other. No exception
/// leaves an operation. One that fails for lack of memory says so on the log and changes nothing.
class VELMORA_API TrustedRoots {
 public:
  /// What a root is known by. All texts are UTF-8, counted by length, and are compared octet by
  /// octet.
  struct Name {
    std::string_view serialNumber;  // canonical hexadecimal
    std::string_view subjectDn;     // as VelmoraX509 writes it by default
    /// The subject's text without a space after the commas between its parts: which of the two
    /// forms is asked for depends on an option keyword. The same text twice when there is one.
    std::string_view compactSubjectDn;
  };

  /// True when a root of this serial number and subject (either form) is in the set. `rootDer` is
  /// then replaced by its DER, empty when it has none, and `implicitlyTrusted` tells whether it was
  /// marked. Otherwise, and when memory ran out, false with `rootDer` empty and the flag false.
  static bool isTrustedRoot(const char* set, std::string_view serialNumber,
                            std::string_view subjectDn, DataBuffer& rootDer,
                            bool& implicitlyTrusted, LogBase& log);

  /// The same with texts that end at their first NUL, null standing for an empty one. Texts that
  /// come from a certificate may hold a NUL; for these the operation above is the one to call.
  static bool isTrustedRoot(const char* set, const char* serialNumber, const char* subjectDn,
                            DataBuffer& rootDer, bool& implicitlyTrusted, LogBase& log);

  /// Registers a root with its DER and the octets of its public key. True when the set now holds
  /// it, also when it did before; the DER that came first stays. False, with an error, for an empty
  /// DER or key, and when the set has a root of that name and serial number with another key.
  static bool addRoot(const char* set, const Name& name, const DataBuffer& der,
                      const DataBuffer& publicKey, LogBase& log);

  /// Marks a root as trusted implicitly. It need not have been registered before, nor be later.
  static bool trustImplicitly(const char* set, const Name& name, LogBase& log);

  /// Forgets every root that is known by the serial number and one of the texts, and its mark. True
  /// when there was one.
  static bool removeRoot(const char* set, const Name& name);

  /// Forgets every root of a set.
  static void clear(const char* set);

  /// How many roots a set holds, those that are only marked included.
  static size_t getCount(const char* set);
};

}  // namespace velmora
