#include "velmora/reading/crossing.h"

#include <new>
#include <string>

#include "velmora/support/log/log_base.h"
#include "velmora/support/text/data_buffer.h"
#include "velmora/support/text/whole.h"

namespace velmora {

Result<Certificate> certificateOf(VelmoraX509& object) noexcept {
  DataBuffer der;
  object.getCertDer(der);
  if (der.failed()) return Error{ErrorCode::outOfMemory};
  return certificateFromBer(std::as_bytes(der.span()));
}

RefOwner<VelmoraX509> objectOf(const Certificate& certificate) noexcept {
  const Bytes der = certificate.der();
  LogNull log;
  RefOwner<VelmoraX509> object = VelmoraX509::createOwnedX509();
  const bool loaded =
      object && object->loadX509DerAlt(reinterpret_cast<const unsigned char*>(der.data()),
                                       static_cast<unsigned int>(der.size()), nullptr, log);
  if (!loaded) object.reset();
  return object;
}

Reading certificatesOf(const SystemCerts& store) {
  Reading reading;
  DataBuffer der;
  for (size_t i = 0; store.getNthCertDer(i, der); ++i) {
    Result<Certificate> certificate = certificateFromBer(std::as_bytes(der.span()));
    if (certificate) {
      reading.certificates.push_back(*std::move(certificate));
      continue;
    }
    const Error error = certificate.error();
    if (error.code == ErrorCode::outOfMemory) throw std::bad_alloc();
    reading.failures.push_back({i, 0, 0, {}, error, std::string(error.message())});
  }
  whole(der);  // there are no more, and not for lack of memory
  return reading;
}

}  // namespace velmora
