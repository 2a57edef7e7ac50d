#pragma once
// The employees dataset of tests/data/dictionary (a CSV with its dictionary: value labels,
// user-missing values, a string variable, both kinds of set, a weight and a split variable), made
// the active dataset for the life of the fixture.

#include <gtest/gtest.h>

#include "host/dictionary/loader.h"
#include "host/dictionary/registry.h"

namespace test {

class EmployeesTest : public ::testing::Test {
protected:
    void SetUp() override {
        auto loaded = host::dictionary::loadDataset(GGRAPH_SOURCE_DIR "/tests/data/dictionary/employees.csv");
        ASSERT_TRUE(loaded.ok());
        host::dictionary::setActiveDataset(loaded.dataset);
    }
    void TearDown() override { host::dictionary::resetDatasets(); }
};

}  // namespace test
