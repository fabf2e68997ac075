#pragma once

#include <gtest/gtest.h>

#include "settings/codec_settings.h"

namespace nyx::test {

/// A codec setting that is there while in scope.
class StoredSetting {
  public:
    StoredSetting(DWORD fourcc, const wchar_t* name, LONG value) : fourcc_(fourcc), name_(name) {
        EXPECT_EQ(WriteCodecSetting(fourcc, name, value), 0);
    }
    ~StoredSetting() { WriteCodecSetting(fourcc_, name_, 0); }
    StoredSetting(const StoredSetting&) = delete;
    StoredSetting& operator=(const StoredSetting&) = delete;

  private:
    DWORD fourcc_;
    const wchar_t* name_;
};

}  // namespace nyx::test
