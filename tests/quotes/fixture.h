// Whole answers of the feed, kept in files: one folder per service.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

/// The content of fixtures/`name`, for example "index_market/nulls.json".
inline std::string Fixture(const std::string& name) {
  std::ifstream file(std::string(FIXTURES) + "/" + name, std::ios::binary);
  EXPECT_TRUE(file) << "there is no fixture " << name;
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
