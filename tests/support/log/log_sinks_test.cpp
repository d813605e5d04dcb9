#include "velmora/support/log/log_sinks.h"

#include <ostream>
#include <sstream>
#include <streambuf>

#include "tests/common/allocation_fault.h"

namespace velmora {
namespace {

using namespace std::string_view_literals;

void logSomeOfAll(LogBase& log) {
  const LogContextExitor outer(log, "outer");
  log.LogInfo("begins");
  {
    const LogContextExitor inner(log, "inner");
    log.LogError("Went wrong.");
    log.LogDataLong("count", INT64_MIN);
    log.LogDataHex("bytes", reinterpret_cast<const unsigned char*>("\x01\xAB"), 2);
  }
  log.LogDataSb("text", StringBuffer("Z\xC3\xBCrich"));
  log.LogDataX("x", XString("y"));
  log.LogData(nullptr, "");
  log.LogError(nullptr);
}

constexpr std::string_view kLinesOfAll =
    "outer:\n"
    "  begins\n"
    "  inner:\n"
    "    ERROR: Went wrong.\n"
    "    count: -9223372036854775808\n"
    "    bytes: 01AB\n"
    "  text: Z\xC3\xBCrich\n"
    "  x: y\n"
    "  : \n"
    "  ERROR: \n";

TEST(LogSinks, WriteIndentedLines) {
  LogText text;
  logSomeOfAll(text);
  EXPECT_EQ(text.text().view(), kLinesOfAll);
  text.clear();
  text.leaveContext();  // one too many
  text.LogInfo("again");
  EXPECT_EQ(text.text().view(), "again\n");

  std::ostringstream stream;
  LogStream toStream(stream);
  logSomeOfAll(toStream);
  EXPECT_EQ(stream.str(), kLinesOfAll);
}

TEST(LogSinks, NoValueForgesALine) {
  LogText log;
  log.LogData("CN", "a\nERROR: forged\r\t\0\x1B[2J\x7F\\x0A"sv);
  log.LogData("key\n", "");
  log.LogInfo("info\nforged");
  log.LogError("error\nforged");
  log.enterContext("name\nforged");
  EXPECT_EQ(log.text().view(),
            "CN: a\\x0AERROR: forged\\x0D\\x09\\x00\\x1B[2J\\x7F\\\\x0A\n"
            "key\\x0A: \n"
            "info\\x0Aforged\n"
            "ERROR: error\\x0Aforged\n"
            "name\\x0Aforged:\n");
}

TEST(LogText, KeepsWholeLinesWhenMemoryRunsOut) {
  const std::string value(100, 'v');
  size_t size = 0;
  char last = 0;
  test::forEachAllocationFault(
      [&] {
        LogText log;
        for (int i = 0; i < 8; ++i) log.LogData("key", value);
        size = log.text().getSize();
        last = size != 0 ? log.text().view().back() : '\n';
      },
      [&](bool faulted) {
        ASSERT_EQ(last, '\n');
        ASSERT_EQ(size == 8 * (value.size() + 6), !faulted);
      });
}

TEST(LogStream, SurvivesAStreamThatThrows) {
  struct FullBuffer final : std::streambuf {};  // takes no character
  FullBuffer full;
  std::ostream stream(&full);
  stream.exceptions(std::ios::badbit | std::ios::failbit);
  EXPECT_THROW(stream << "x", std::ios::failure);
  stream.clear();
  LogStream log(stream);
  EXPECT_NO_THROW(log.LogInfo("lost"));
}

}  // namespace
}  // namespace velmora
