// The check builds its model on a second thread while the first reading still runs; nothing of
// that may show before the first reading has passed, nor at all when it fails.
#include "metamodel/operations/checkoperation.h"

#include "installationonly.h"
#include "metamodel/xml/xmlmetamodelreader.h"
#include "platform/appdatamanager.h"
#include "platform/appmsgmanager.h"
#include "support/messagecapture.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <sched.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <set>
#include <span>
#include <thread>
#include <utility>

namespace {

using MetaModel::CheckMetaModelFromXML;
using TestSupport::MessageCapture;
using Ids = std::vector<std::string>;

const std::string review = METAMODEL_SOURCE_DIR "/examples/review";

class CheckOperation : public testing::Test {
protected:
    OperationTesting::InstallationOnly installation_;
};

// The threads something of the host's was called on.
class ThreadsSeen {
public:
    void note() const {
        const std::lock_guard lock(mutex_);
        threads_.insert(std::this_thread::get_id());
    }
    std::set<std::thread::id> threads() const {
        const std::lock_guard lock(mutex_);
        return threads_;
    }

private:
    mutable std::mutex mutex_;
    mutable std::set<std::thread::id> threads_;
};

// The host's application data manager, noting the threads it is asked on.
class ThreadNotingManager : public AppDataManager::IAppDataManager {
public:
    ThreadNotingManager() : host_(AppDataManager::LoadAppDataManager()) {
        AppDataManager::SetAppDataManager(this);
    }
    ~ThreadNotingManager() override { AppDataManager::SetAppDataManager(nullptr); }
    const AppDataManager::ISettings* GetSettings() const override {
        seen.note();
        return host_->GetSettings();
    }
    const AppDataManager::IPaths* GetPaths() const override {
        seen.note();
        return host_->GetPaths();
    }
    ThreadsSeen seen;

private:
    AppDataManager::IAppDataManager* host_;
};

TEST_F(CheckOperation, TheSecondReadingIsToldOnlyOnceTheFirstHasPassed) {
    // Two jobs, whatever this machine has, so that the second reading has a thread of its own.
    MetaModel::CXMLMetaModelReader::SetDefaultJobs(2);
    const struct Restore {
        ~Restore() { MetaModel::CXMLMetaModelReader::SetDefaultJobs(0); }
    } restore;
    for (int run = 0; run < 20; ++run) {
        std::mutex toldMutex;
        std::vector<std::pair<int, size_t>> told;
        std::set<std::thread::id> toldOn;
        size_t secondCount = 0;
        MessageCapture messages;
        const ThreadNotingManager manager;
        ASSERT_TRUE(CheckMetaModelFromXML(
            {review}, [&](int pass, const ORLO::String&, size_t number, size_t count) {
                const std::lock_guard lock(toldMutex);
                told.emplace_back(pass, number);
                toldOn.insert(std::this_thread::get_id());
                if (pass == 2)
                    secondCount = count;
            }));
        EXPECT_EQ(messages.ids(), Ids{});
        // The host hears only on its own thread.
        const std::set<std::thread::id> host{std::this_thread::get_id()};
        EXPECT_EQ(toldOn, host);
        EXPECT_EQ(manager.seen.threads(), host);

        // The installation's three documents and the extension, each once in the first pass.
        ASSERT_GT(told.size(), 4u);
        for (size_t at = 0; at < 4; ++at)
            ASSERT_EQ(told[at], std::make_pair(1, at + 1)) << "run " << run;
        // The second pass from wherever it had got to, onwards, up to its last document.
        for (size_t at = 4; at < told.size(); ++at) {
            ASSERT_EQ(told[at].first, 2) << "run " << run;
            if (at > 4) {
                ASSERT_GT(told[at].second, told[at - 1].second) << "run " << run;
            }
        }
        EXPECT_EQ(secondCount, 4u);
        EXPECT_EQ(told.back(), std::make_pair(2, size_t(4)));
    }
}

// A process held to one core reads in turn: every document of each pass is told, in order.
TEST_F(CheckOperation, OnASingleCoreTheReadingsTakeTurns) {
    cpu_set_t all;
    ASSERT_EQ(sched_getaffinity(0, sizeof all, &all), 0);
    cpu_set_t one;
    CPU_ZERO(&one);
    for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu)
        if (CPU_ISSET(cpu, &all)) {
            CPU_SET(cpu, &one);
            break;
        }
    ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
    std::vector<std::pair<int, size_t>> told;
    MessageCapture messages;
    const bool passed =
        CheckMetaModelFromXML({review}, [&](int pass, const ORLO::String&, size_t number, size_t) {
            told.emplace_back(pass, number);
        });
    sched_setaffinity(0, sizeof all, &all);
    EXPECT_TRUE(passed);
    EXPECT_EQ(messages.ids(), Ids{});
    EXPECT_EQ(told, (std::vector<std::pair<int, size_t>>{
                        {1, 1}, {1, 2}, {1, 3}, {1, 4}, {2, 1}, {2, 2}, {2, 3}, {2, 4}}));
}

// A host's message manager, noting the threads it formats messages on.
class ThreadNotingMessages : public AppMsgManager::IAppMsgManager {
public:
    ThreadNotingMessages() { AppMsgManager::SetAppMsgManager(this); }
    ~ThreadNotingMessages() override { AppMsgManager::SetAppMsgManager(nullptr); }
    void Release() override {}
    int AddRef() override { return 1; }
    void RemoveRef() override {}
    CppLanguage::CAppMsg* ExceptionToMsg(const std::exception*) override { return nullptr; }
    void PostMsg(const CppLanguage::IAppMsg&) override {}
    void FormatMsg(const char*, ...) override {}
    CppLanguage::CAppMsg* CreateMsg(const char*, ...) override { return nullptr; }
    void Fill(CppLanguage::CAppMsg& record, const char* id, const AppMsgManager::MessageOrigin&,
              std::span<const CppLanguage::CBindArgNameToVal* const>) override {
        seen.note();
        ++filled;
        record.SetText(id);
    }
    ThreadsSeen seen;
    // Atomic, should the library call from threads of its own.
    std::atomic<int> filled = 0;
};

// Documents parsed ahead would have their faults formatted on the threads that parse them: a
// host that put its own message manager in place has every document read on its own thread.
TEST_F(CheckOperation, AHostsMessageManagerIsCalledOnTheHostsThreadOnly) {
    TestSupport::TempFolder folder;
    std::string large = "<metaModel file_no=\"1\">";
    for (int category = 1; category <= 3000; ++category)
        large += "<category name=\"C" + std::to_string(category) + "\" rid=\"" +
                 std::to_string(category) + "\"><description/></category>";
    folder.write("set/a/MetaModel.xml", large + "</metaModel>");
    for (const char* name : {"b", "c", "d", "e", "f"})
        folder.write(std::string("set/") + name + "/MetaModel.xml",
                     "<metaModel file_no=\"2\" file_level=\"nowhere\"/>");
    const ThreadNotingMessages host;
    EXPECT_FALSE(CheckMetaModelFromXML({folder.file("set")}));
    EXPECT_GT(host.filled, 0);
    EXPECT_EQ(host.seen.threads(), std::set<std::thread::id>{std::this_thread::get_id()});
}

TEST_F(CheckOperation, WhatTheSecondReadingFindsInAFaultySetIsNeverShown) {
    TestSupport::TempFolder folder;
    // The model builder refuses an unknown merge word too, with a message of its own.
    folder.write("merge/MetaModel.xml",
                 "<metaModel file_no=\"9\"><category name=\"Scored\" rid=\"1\"><description/>"
                 "<property name=\"score\" rid=\"2\" type=\"integer\" merge=\"average\">"
                 "<description/></property></category></metaModel>");
    {
        MessageCapture messages;
        EXPECT_FALSE(CheckMetaModelFromXML({folder.file("merge")}));
        EXPECT_EQ(messages.ids(), (Ids{"QEL_MM_INVALID_PROP_MERGE", "QEL_MM_EXIST_ERR"}));
    }

    // A document that is not well-formed fails either reading the same way.
    folder.write("broken/MetaModel.xml", "<metaModel file_no=\"9\"><category name=\"Open\">");
    MessageCapture messages;
    EXPECT_FALSE(CheckMetaModelFromXML({folder.file("broken")}));
    const Ids ids = messages.ids();
    ASSERT_FALSE(ids.empty());
    EXPECT_EQ(std::count(ids.begin(), ids.end(), "QEL_MM_XML_FILE_ERR"), 1) << ids.size();
    EXPECT_EQ(std::count(ids.begin(), ids.end(), ids.front()), 1) << ids.front();
}

} // namespace
