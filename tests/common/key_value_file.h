#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <string>

/// Test vectors in plain text: records of `Key = Value` lines, separated by empty lines; lines that
/// begin with # are comments.

namespace velmora::test {

/// One record. A key that a test asks for must be there, and a key that no test asked for is an
/// error, so that a misspelt key cannot switch a check off.
class KeyValueRecord {
 public:
  bool has(const std::string& key) const { return m_values.count(key) != 0; }

  std::string get(const std::string& key) const {
    m_used.insert(key);
    const auto found = m_values.find(key);
    EXPECT_NE(found, m_values.end()) << "no key " << key;
    return found == m_values.end() ? std::string() : found->second;
  }

  void set(const std::string& key, const std::string& value) { m_values[key] = value; }
  bool empty() const { return m_values.empty(); }

  void expectAllUsed() const {
    for (const auto& entry : m_values) {
      EXPECT_TRUE(m_used.count(entry.first) != 0) << "nobody used the key " << entry.first;
    }
  }

 private:
  std::map<std::string, std::string> m_values;
  mutable std::set<std::string> m_used;
};

/// Calls `check` with every record of a file, which must have some.
inline void forEachRecord(const std::string& path,
                          const std::function<void(const KeyValueRecord&)>& check) {
  std::ifstream file(path);
  ASSERT_TRUE(file.is_open()) << path;
  KeyValueRecord record;
  size_t number = 0;
  size_t records = 0;
  const auto finish = [&] {
    if (record.empty()) return;
    SCOPED_TRACE(path + ", record that ends before line " + std::to_string(number));
    check(record);
    record.expectAllUsed();
    record = KeyValueRecord();
    ++records;
  };
  for (std::string line; std::getline(file, line);) {
    ++number;
    const size_t equals = line.find(" = ");
    if (line.empty()) {
      finish();
    } else if (line[0] != '#') {
      ASSERT_NE(equals, std::string::npos) << path << ":" << number;
      record.set(line.substr(0, equals), line.substr(equals + 3));
    }
  }
  finish();
  EXPECT_GT(records, 0U) << path;
}

}  // namespace velmora::test
