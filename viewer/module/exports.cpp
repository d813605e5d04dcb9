// What the page calls. Texts and octets go in through one buffer and come out through another; both
// belong to the module, and what comes out stands until the next call.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "viewer/module/session.h"

#define VIEWER_EXPORT(name) __attribute__((export_name(#name), used)) name

namespace {

using velmora::Profile;
using velmora::Purpose;
using velmora::StringBuffer;
using velmora::viewer::Session;

// The years 1 to 9999, the ones that dates of certificates have.
constexpr double kFirstSecond = -62'135'596'800;
constexpr double kLastSecond = 253'402'300'799;

// They live as long as the page, so that nothing destroys them.
Session& session() {
  static Session& one = *new Session;
  return one;
}

std::vector<unsigned char>& in() {
  static auto& octets = *new std::vector<unsigned char>;
  return octets;
}

StringBuffer& out() {
  static auto& text = *new StringBuffer;
  return text;
}

std::string_view inText() {
  return {reinterpret_cast<const char*>(in().data()), in().size()};
}

StringBuffer& emptyOut() {
  out().weakClear();
  return out();
}

}  // namespace

extern "C" {

/// Where so many octets go in that the next call takes.
unsigned char* VIEWER_EXPORT(input)(size_t size) {
  in().resize(size);
  return in().data();
}

/// What the last call gave.
const char* VIEWER_EXPORT(output)() {
  return out().getString();
}
size_t VIEWER_EXPORT(outputSize)() {
  return out().getSize();
}

// The operations of Session, in its order and with its names.

void VIEWER_EXPORT(begin)() {
  session().begin(inText());
}
void VIEWER_EXPORT(feed)() {
  session().feed(in(), emptyOut());
}
void VIEWER_EXPORT(finish)() {
  session().finish(emptyOut());
}
void VIEWER_EXPORT(show)(size_t row) {
  session().show(row, emptyOut());
}
void VIEWER_EXPORT(octets)(size_t row) {
  session().octets(row, emptyOut());
}
void VIEWER_EXPORT(elements)(size_t row) {
  session().elements(row, emptyOut());
}
void VIEWER_EXPORT(value)(size_t row, size_t offset) {
  session().value(row, offset, emptyOut());
}
void VIEWER_EXPORT(pem)(size_t row) {
  session().pem(row, emptyOut());
}
void VIEWER_EXPORT(summary)(size_t row) {
  session().summary(row, emptyOut());
}
void VIEWER_EXPORT(differences)(size_t before, size_t after) {
  session().differences(before, after, emptyOut());
}
void VIEWER_EXPORT(trust)(size_t row, bool isTrusted) {
  session().trust(row, isTrusted);
}
/// The target goes in; purpose and profile are numbers of their enumerations, the time is in
/// seconds since 1970, and now when it is none. Other numbers have no answer.
void VIEWER_EXPORT(verify)(size_t row, uint32_t purpose, uint32_t profile, double at) {
  StringBuffer& answer = emptyOut();
  if (purpose > static_cast<uint32_t>(Purpose::any)) return;
  if (profile > static_cast<uint32_t>(Profile::web)) return;
  velmora::viewer::TrustQuestion question;
  question.purpose = static_cast<Purpose>(purpose);
  question.profile = static_cast<Profile>(profile);
  question.target = inText();
  if (!std::isnan(at)) {
    const double seconds = std::clamp(at, kFirstSecond, kLastSecond);
    question.at = std::chrono::sys_seconds(std::chrono::seconds(static_cast<int64_t>(seconds)));
  }
  session().verify(row, question, answer);
}
}
