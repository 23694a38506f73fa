// A folder of its own for each test, gone after it.
#pragma once

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <unistd.h>

namespace orv {

class TempFolder {
 public:
  TempFolder()
  {
    std::filesystem::remove_all(m_path);
    std::filesystem::create_directories(m_path);
  }
  ~TempFolder() { std::filesystem::remove_all(m_path); }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::string& path() const { return m_path; }  // ends with "/"
  std::string operator/(const std::string& name) const { return m_path + name; }

  // Writes a file, and the folders that it needs; returns its name.
  std::string write(const std::string& name, const std::string& contents) const
  {
    std::filesystem::create_directories(std::filesystem::path(m_path + name).parent_path());
    std::ofstream(m_path + name, std::ios::binary) << contents;
    return m_path + name;
  }
  // The contents of a file; "(none)" when there is no such file.
  std::string read(const std::string& name) const
  {
    std::ifstream in(m_path + name, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return in ? out.str() : "(none)";
  }

 private:
  const testing::TestInfo* m_test = testing::UnitTest::GetInstance()->current_test_info();
  // Two runs of one test at the same time do not meet.
  const std::string m_path = testing::TempDir() + "orv_" + m_test->test_suite_name() + "_" + m_test->name()
                             + "_" + std::to_string(getpid()) + "/";
};

}  // namespace orv
