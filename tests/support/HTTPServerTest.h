#pragma once

#include "tests/support/HTTPServerProcess.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

/// Tests that share one server process.
class HTTPServerTest : public testing::Test {
protected:
    static void SetUpTestSuite() { Server = std::make_unique<HTTPServerProcess>(); }
    static void TearDownTestSuite() { Server.reset(); }

    /// Bytes of the pattern that the server sends.
    static std::string Pattern(size_t count, size_t start = 0) {
        std::string bytes;
        for (size_t i = start; i < start + count; i++) {
            bytes += static_cast<char>(i % 251);
        }
        return bytes;
    }

    static inline std::unique_ptr<HTTPServerProcess> Server;
};
