#pragma once

// From BER to the ASN.1 XML form, whatever takes it down. Internal to the ASN.1 floor.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "velmora/support/asn1/ber_walk.h"
#include "velmora/support/asn1/internal/asn1_xml_form.h"
#include "velmora/support/asn1/oids.h"
#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/text/byte_codecs.h"
#include "velmora/support/text/encoding_convert.h"

namespace velmora {

/// Walks some BER and decides for each element which form it has; a `Sink` takes the elements down,
/// as text or as a tree. Of each form of an element (Asn1XmlForm) it has made a `Sink::Form`, with
/// a member `content`. Before an element it is asked for room. What gives a bool gives false when
/// memory ran out.
///
///   bool start(size_t size)          makes room for what so many octets come to
///   bool room(size_t count)          for one more element with so many characters of content
///   bool roomForText(octets, widen)  the same for the content that putText writes
///   void open(form)                  an element without attributes
///   bool open(form, name, value)     one with that attribute
///   bool openNumbered(form, header, constructed)
///   char* contentOf(form)            where the content of an element not yet opened will stand
///   char* at(), void advance(size)   where content goes, and how much of it came
///   void putText(octets, widen)      characters; with `widen` each octet is one of Latin-1
///   void close(form)                 an element that has content
///   bool closeMembers(form)          one that has members
template <class Sink>
class Asn1Conversion {
 public:
  using Octets = std::span<const unsigned char>;

  Asn1Conversion(Octets ber, Sink& sink) noexcept : m_walk(ber), m_size(ber.size()), m_sink(sink) {}

  /// False with the reason when the walk refuses the input or memory ran out.
  bool run(Asn1Fault& fault) noexcept {
    if (m_sink.start(m_size) && convert()) return true;
    const bool malformed = !m_joined.failed() && m_walk.fault().reason != nullptr;
    fault = malformed ? m_walk.fault() : Asn1Fault{kOutOfMemory, m_walk.offset(), true};
    return false;
  }

 private:
  using Form = typename Sink::Form;

  static constexpr size_t kShortTagNumbers = 31;

  struct Forms {
    std::array<Form, kShortTagNumbers> universal;  // by tag number
    std::array<Form, 4> numbered;                  // by tag class

    constexpr Forms() noexcept {
      for (size_t i = 0; i < numbered.size(); ++i) numbered[i] = Form(kNumberedForms[i]);
      for (Form& form : universal) form = numbered[0];
      for (const Asn1XmlForm& form : kOwnForms) universal[form.tagNumber] = Form(form);
    }
  };

  static constexpr Forms kForms{};

  bool convert() noexcept {
    for (;;) {
      Asn1Header header;
      Octets content;
      switch (m_walk.next(header, content)) {
        case BerStep::kElement:
          if (!(header.constructed ? openElement(header) : putPrimitive(header, content))) {
            return false;
          }
          break;
        case BerStep::kClose:
          if (!m_sink.closeMembers(*m_open[m_walk.depth()])) return false;
          break;
        case BerStep::kEnd:
          return true;
        case BerStep::kFault:
          return false;
      }
    }
  }

  static const Form& numberedForm(const Asn1Header& header) noexcept {
    return kForms.numbered[static_cast<size_t>(header.tagClass)];
  }

  static const Form& formOf(const Asn1Header& header) noexcept {
    const bool isShort =
        header.tagClass == Asn1Class::kUniversal && header.tagNumber < kShortTagNumbers;
    return isShort ? kForms.universal[header.tagNumber] : numberedForm(header);
  }

  bool openElement(const Asn1Header& header) noexcept {
    if (!m_sink.room(0)) return false;
    const Form* form = &formOf(header);
    if (form->content == Asn1Content::kMembers) {
      m_sink.open(*form);
    } else {
      if (header.tagClass == Asn1Class::kUniversal && isBerString(header.tagNumber)) {
        if (m_walk.joinString(header, m_joined)) return putPrimitive(header, m_joined.span());
        if (m_joined.failed()) return false;
      }
      form = &numberedForm(header);
      if (!m_sink.openNumbered(*form, header, true)) return false;
    }
    m_open[m_walk.depth() - 1] = form;
    return true;
  }

  bool putPrimitive(const Asn1Header& header, Octets content) noexcept {
    const Form& form = formOf(header);
    switch (form.content) {
      case Asn1Content::kHex:
        return putHex(form, content);
      case Asn1Content::kBits:
        return isBits(content) ? putBits(form, content) : putNumbered(header, content);
      case Asn1Content::kBase64:
        return putBase64(form, content);
      case Asn1Content::kOid:
        return putOid(form, header, content);
      case Asn1Content::kLatin1:
        return putLatin1(form, content);
      case Asn1Content::kUtf8:
        return putUtf8(form, content);
      case Asn1Content::kMembers:
      case Asn1Content::kNumbered:
        break;
    }
    return putNumbered(header, content);
  }

  bool putNumbered(const Asn1Header& header, Octets content) noexcept {
    if (!m_sink.room(base64Length(content.size()))) return false;
    const Form& form = numberedForm(header);
    return m_sink.openNumbered(form, header, false) && finishBase64(form, content);
  }

  bool putHex(const Form& form, Octets content) noexcept {
    if (!m_sink.room(2 * content.size())) return false;
    m_sink.open(form);
    return finishHex(form, content);
  }

  static bool isBits(Octets content) noexcept {
    return !content.empty() && content[0] <= (content.size() == 1 ? 0 : kMaxUnusedBits);
  }

  bool putBits(const Form& form, Octets content) noexcept {
    if (content[0] == 0) return putHex(form, content.subspan(1));
    if (!m_sink.room(2 * content.size())) return false;
    const char unused = static_cast<char>('0' + content[0]);
    return m_sink.open(form, XmlName::kUnused, {&unused, 1}) && finishHex(form, content.subspan(1));
  }

  bool finishHex(const Form& form, Octets content) noexcept {
    hexEncodeUpper(content.data(), content.size(), m_sink.at());
    m_sink.advance(2 * content.size());
    m_sink.close(form);
    return true;
  }

  bool putBase64(const Form& form, Octets content) noexcept {
    if (!m_sink.room(base64Length(content.size()))) return false;
    m_sink.open(form);
    return finishBase64(form, content);
  }

  bool finishBase64(const Form& form, Octets content) noexcept {
    base64Encode(content.data(), content.size(), m_sink.at());
    m_sink.advance(base64Length(content.size()));
    m_sink.close(form);
    return true;
  }

  bool putOid(const Form& form, const Asn1Header& header, Octets content) noexcept {
    if (!m_sink.room(maxDottedSize(content.size()))) return false;
    const size_t size = writeDottedOid(content, m_sink.contentOf(form));
    if (size == 0) return putNumbered(header, content);
    m_sink.openAround(form, size);
    m_sink.close(form);
    return true;
  }

  bool putLatin1(const Form& form, Octets content) noexcept {
    if (!m_sink.roomForText(content, true)) return false;
    m_sink.open(form);
    m_sink.putText(content, true);
    m_sink.close(form);
    return true;
  }

  bool putUtf8(const Form& form, Octets content) noexcept {
    const bool valid = isValidUtf8({reinterpret_cast<const char*>(content.data()), content.size()});
    if (!m_sink.roomForText(content, !valid)) return false;
    if (valid) {
      m_sink.open(form);
    } else if (!m_sink.open(form, XmlName::kEncoding, "latin1")) {
      return false;
    }
    m_sink.putText(content, !valid);
    m_sink.close(form);
    return true;
  }

  BerWalk m_walk;
  size_t m_size;
  Sink& m_sink;
  DataBuffer m_joined;
  std::array<const Form*, kMaxAsn1Depth> m_open;
};

}  // namespace velmora
