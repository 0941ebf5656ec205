// A CWABLib connected to fakes: an address book and its allocator handed out by a fake provider module, with the
// full log captured.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "support/fake_wab.h"
#include "support/log_capture.h"
#include "wabstore/wablib.h"

// The captured log with the date and time cut from the head of every entry, so "Err[0x7e] in CWAB::Init: ...\n";
// the lines that continue an entry stay whole.
std::string LoggedText(const testsupport::CLogCapture &log);

class WabFixture : public ::testing::Test {
protected:
    WabFixture()
        : m_pWab(new testsupport::FakeWABObject), m_pBook(new testsupport::FakeAddrBook(m_pWab)),
          m_module(m_pBook, m_pWab) {}
    ~WabFixture() override {
        m_lib.Done();
        m_pBook->Release();
        m_pWab->Release();
    }

    void Connect() {
        ASSERT_TRUE(m_lib.Init(nullptr, false, false));
        m_log.Clear();
    }
    std::string Logged() const { return LoggedText(m_log); }
    // True if some entry, date and time left out, is exactly this text.
    bool HasLogged(const std::string &strEntry) const {
        return ("\n" + Logged()).find("\n" + strEntry + "\n") != std::string::npos;
    }
    // Everything the address book handed out has gone back, and the connection is dropped.
    void TearDown() override {
        m_lib.Done();
        EXPECT_EQ(m_pWab->LiveBuffers(), 0u);
    }

    testsupport::CLogCapture m_log;
    testsupport::FakeWABObject *m_pWab;
    testsupport::FakeAddrBook *m_pBook;
    testsupport::FakeWabModule m_module;
    CWABLib m_lib;
};
