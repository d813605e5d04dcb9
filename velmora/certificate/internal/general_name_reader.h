#pragma once

// Reads GeneralNames.

#include <vector>

#include "velmora/certificate/general_name.h"
#include "velmora/certificate/internal/extension_reader.h"

namespace velmora {

/// What an iPAddress is: an address, or in name constraints one and a mask.
enum class AddressForm { address, range };

/// Takes one GeneralName. One that is malformed, but DER at its outside, is a RawName and no fault.
GeneralName readGeneralName(ExtensionReader& reader, AddressForm form = AddressForm::address);

/// GeneralNames ::= SEQUENCE SIZE (1..MAX) OF GeneralName
std::vector<GeneralName> readGeneralNames(ExtensionReader& reader, Tag tag = kSequenceTag);

}  // namespace velmora
