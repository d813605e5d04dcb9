#include <optional>

#include "tools/commands/command.h"
#include "tools/render/difference.h"
#include "tools/render/fold.h"

namespace velmora::tool {

namespace {

std::optional<Certificate> firstOf(const std::vector<std::string_view>& sources, Console& console) {
  std::optional<Certificate> first;
  visitCertificates(sources, console, [&](const InputCertificate& input) {
    if (!first) first = input.certificate;
  });
  return first;
}

void runDiff(const Arguments& arguments, Console& console) {
  const auto before = firstOf({arguments.operand()}, console);
  const auto after = firstOf(arguments.files(), console);
  if (!before || !after) return console.raise(ExitStatus::kUnreadable);
  const size_t start = console.out().getSize();
  for (const FieldDifference& each : differencesOf(*before, *after)) {
    console.raise(ExitStatus::kNo);
    print(console.out(), each.field, '\n');
    if (each.before.getSize() + each.after.getSize() == 0) continue;
    print(console.out(), "  - ", each.before, "\n  + ", each.after, '\n');
  }
  foldHanging(start, console.width(), console.out());
}

}  // namespace

const Command kDiffCommand = {
    "diff",
    "tell in which fields two certificates differ",
    "Compared are the first certificate of CERT and the first one of the FILEs, octet\n"
    "by octet. The line behind - has what CERT says in a field, the one behind + what\n"
    "FILE does. Nothing is printed for two that are the same; the exit status is 1\n"
    "for two that are not.\n",
    {},
    runDiff,
    "CERT"};

}  // namespace velmora::tool
