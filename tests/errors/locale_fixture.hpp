// Messages are English while such a test runs, whatever the environment says.
#pragma once

#include "platform/test_hooks.hpp"

#include <fl/i18n/message_catalog.hpp>

#include <gtest/gtest.h>

namespace test {

class LocaleFixture : public testing::Test {
protected:
    LocaleFixture() { foundation::test_hooks::set_global_locale("en_US"); }
    ~LocaleFixture() override {
        foundation::test_hooks::set_global_locale(nullptr);
        fl::i18n::KvLocale::global(); // known again, as it is to tests without this fixture
    }
};

} // namespace test
