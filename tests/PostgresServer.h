// PostgresServer: the tests' PostgreSQL server, and a fresh schema on it for
// each test. Under ctest the server is started once for the run (a
// fixture; VEXL_TEST_POSTGRES_STATE names its state file); a test program run
// on its own starts one when a test first asks, and stops it when it ends.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

#include <unistd.h>

#include "foundation/Sql.h"

class PostgresServer {
public:
    // The server's URI (its database "postgres"), or "" with `whyNot` set.
    static std::string Uri(std::string& whyNot) {
        static PostgresServer server;
        whyNot = server.WhyNot;
        return server.BaseUri;
    }

    // Runs one statement on the URI's database; true if it was accepted.
    static bool Run(const std::string& uri, const std::string& statement) {
        std::unique_ptr<GenSqlConnection> connection(GenSqlConnection::Create(GenSqlConnection::Postgresql));
        if (connection == nullptr || connection->Connect(NyxString(std::string_view(uri))) == 0) return false;
        std::unique_ptr<GenSqlResult> result(connection->ExecuteSql(NyxString(std::string_view(statement)), 0));
        return result != nullptr;
    }

    // Restarts the server (as a crash and restart would): open connections break.
    static bool Restart() {
        std::string whyNot;
        Uri(whyNot);
        const std::string state = StatePath();
        return !state.empty() && std::system(("bash " + Script() + " restart " + state + " > /dev/null").c_str()) == 0;
    }

    PostgresServer(const PostgresServer&) = delete;
    PostgresServer& operator=(const PostgresServer&) = delete;

private:
    PostgresServer() {
#ifndef VEXL_HAVE_POSTGRESQL
        WhyNot = "this build has no PostgreSQL client (libpq-dev was not found)";
        return;
#endif
        const char* shared = std::getenv("VEXL_TEST_POSTGRES_STATE");
        std::string state;
        if (shared != nullptr && shared[0] != '\0') {
            state = shared;
        } else {
            char folder[] = "/tmp/vexl-postgres-state-XXXXXX";
            if (mkdtemp(folder) == nullptr) {
                WhyNot = "no temporary folder for the server's state";
                return;
            }
            OwnFolder = folder;
            state = OwnFolder + "/state";
            if (std::system(("bash " + Script() + " start " + state + " > /dev/null").c_str()) != 0) {
                WhyNot = "the test server did not start (see scripts/postgres-test-server.sh)";
                return;
            }
            OwnState = state;
        }
        StatePath() = state;
        std::ifstream file(state);
        std::string first;
        std::getline(file, first);
        if (first.rfind("unavailable:", 0) == 0 || first.empty()) {
            WhyNot = first.empty() ? "the test server's state file is missing" : first;
            return;
        }
        BaseUri = first;
    }
    ~PostgresServer() {
        if (!OwnState.empty()) std::system(("bash " + Script() + " stop " + OwnState + " > /dev/null").c_str());
        if (!OwnFolder.empty()) std::system(("rm -rf '" + OwnFolder + "'").c_str());
    }

    static std::string Script() { return std::string(VEXL_SOURCE_DIR) + "/scripts/postgres-test-server.sh"; }
    static std::string& StatePath() {
        static std::string path;
        return path;
    }

    std::string BaseUri;
    std::string WhyNot;
    std::string OwnFolder;
    std::string OwnState;
};

// A schema of its own for one test (cheaper than a database: no copy of a
// template), the one that the URI's connections use; dropped when the test
// ends.
class PostgresDatabase {
public:
    PostgresDatabase() {
        const std::string base = PostgresServer::Uri(WhyNot);
        if (base.empty()) return;
        Name = "vexl_test_" + std::to_string(getpid()) + "_" + std::to_string(++Count());
        Admin = base;
        PostgresServer::Run(Admin, "DROP SCHEMA IF EXISTS " + Name + " CASCADE");
        if (!PostgresServer::Run(Admin, "CREATE SCHEMA " + Name)) {
            WhyNot = "CREATE SCHEMA failed on the test server";
            return;
        }
        Uri = base + "&options=-c%20search_path%3D" + Name;
    }
    ~PostgresDatabase() {
        if (!Uri.empty()) PostgresServer::Run(Admin, "DROP SCHEMA IF EXISTS " + Name + " CASCADE");
    }
    PostgresDatabase(const PostgresDatabase&) = delete;
    PostgresDatabase& operator=(const PostgresDatabase&) = delete;

    std::string Uri;     // "" when there is no server
    std::string WhyNot;  // why there is none

private:
    static unsigned& Count() {
        static unsigned count = 0;
        return count;
    }
    std::string Name;
    std::string Admin;
};
