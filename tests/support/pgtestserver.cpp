#include "support/pgtestserver.h"

#include "support/runtool.h"
#include "support/testdatabase.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace TestSupport {

namespace {

const std::string script = METAMODEL_SOURCE_DIR "/scripts/pg-test-server";

std::string shellQuoted(const std::string& word) {
    std::string text = "'";
    for (const char c : word)
        text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return text + "'";
}

bool runOnServer(const std::string& connectionString, const std::string& sql,
                 std::string& problem) {
    try {
        runSql(Backend::Postgres, connectionString, sql);
        return true;
    } catch (const std::runtime_error& refused) {
        problem = refused.what();
        return false;
    }
}

} // namespace

PostgresTestServer& PostgresTestServer::instance() {
    static PostgresTestServer server;
    return server;
}

PostgresTestServer::PostgresTestServer() {
    if (const char* external = std::getenv("METAMODEL_TEST_PG"); external && *external)
        base_ = external;
    else
        start();
}

void PostgresTestServer::start() {
    char pattern[] = "/tmp/metamodel-pg-XXXXXX";
    if (!mkdtemp(pattern)) {
        problem_ = "cannot make a folder for the PostgreSQL test server";
        return;
    }
    folder_ = pattern;
    // The watchdog waits for the end of this process, however it ends, and then stops the
    // server: its read end sees end-of-file once the last copy of the write end is closed. It
    // is a grandchild, so that killing this process and its children (as a test runner does
    // on a timeout) leaves it running; it holds the write end of `done` until the server is
    // stopped.
    int ends[2];
    int done[2];
    if (pipe2(ends, O_CLOEXEC) != 0 || pipe2(done, O_CLOEXEC) != 0) {
        problem_ = "cannot make the watchdog pipes";
        return;
    }
    const pid_t child = fork();
    if (child == 0) {
        if (fork() != 0)
            _exit(0);
        setsid();
        close(ends[1]);
        close(done[0]);
        fcntl(done[1], F_SETFD, 0);
        char byte;
        while (read(ends[0], &byte, 1) != 0 && errno == EINTR) {
        }
        execl(script.c_str(), script.c_str(), "stop", folder_.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    close(ends[0]);
    close(done[1]);
    watchdogPipe_ = ends[1];
    stoppedPipe_ = done[0];
    if (child < 0) {
        problem_ = "cannot start the watchdog of the PostgreSQL test server";
        return;
    }
    int status = 0;
    waitpid(child, &status, 0);
    std::string output;
    if (runShell(shellQuoted(script) + " start " + shellQuoted(folder_) + " 2>&1", output) != 0) {
        problem_ = "the PostgreSQL test server did not start: " + output;
        return;
    }
    while (!output.empty() && output.back() == '\n')
        output.pop_back();
    base_ = output.substr(output.rfind('\n') == std::string::npos ? 0 : output.rfind('\n') + 1);
}

PostgresTestServer::~PostgresTestServer() {
    if (watchdogPipe_ < 0)
        return;
    close(watchdogPipe_);
    // Returns once the watchdog has stopped the server and ended.
    char byte;
    while (read(stoppedPipe_, &byte, 1) != 0 && errno == EINTR) {
    }
    close(stoppedPipe_);
}

std::string PostgresTestServer::createDatabase(std::string& problem) {
    if (!running()) {
        problem = problem_;
        return "";
    }
    const std::string name =
        "metamodel_test_" + std::to_string(getpid()) + "_" + std::to_string(++databases_);
    if (!runOnServer(base_, "CREATE DATABASE " + name, problem))
        return "";
    return base_ + " dbname=" + name;
}

void PostgresTestServer::dropDatabase(const std::string& connectionString) {
    const size_t name = connectionString.rfind("dbname=");
    std::string ignored;
    if (name != std::string::npos)
        runOnServer(
            base_, "DROP DATABASE IF EXISTS " + connectionString.substr(name + 7) + " WITH (FORCE)",
            ignored);
}

} // namespace TestSupport
