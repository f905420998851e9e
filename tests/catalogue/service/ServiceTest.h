// A running service on a folder of its own, and a client of it.
#pragma once

#include "catalogue/service/CatalogueService.h"
#include "tests/support/WriteItems.h"

#include <gtest/gtest.h>
#include <httplib.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <stdexcept>
#include <stdlib.h>
#include <string>
#include <vector>

namespace catalogue::testing {

/// A connection to the service on `port` that sends what it is told to.
class RawConnection {
public:
    explicit RawConnection(int port);
    RawConnection(const RawConnection&) = delete;
    RawConnection& operator=(const RawConnection&) = delete;
    ~RawConnection();

    void Send(const std::string& bytes) const;
    /// Every byte that comes until the service ends the connection.
    std::string ReadAll() const;

private:
    int descriptor_;
};

class ServiceTest : public ::testing::Test {
protected:
    ServiceTest() : root_(MakeFolder())
    {
        WriteItems(root_, {{{"id", "bolt"}, {"request", "${BASE}/items/bolt"}}});
        WriteFile("items/bolt.json", R"({
            "id": 7,
            "attributes": {"downloadUrls": {"ZALOR_RAW": "${BASE}/files/bolt.zip"}, "sourceUrl": "file://${FILES}/a"},
            "sizes": [1, 2.5, null]})");
        WriteFile("files/bolt.zip", "archive bytes");
        WriteFile("files/nut.ZALPart", "0123456789");
        service_ = std::make_unique<CatalogueService>(root_, [this](const std::string& line) {
            const std::lock_guard lock(mutex_);
            log_.push_back(line);
        });
        service_->Start();
        client_ = std::make_unique<httplib::Client>("127.0.0.1", service_->GetPort());
        // A large archive takes its time on a busy machine.
        client_->set_read_timeout(std::chrono::minutes(2));
    }

    ~ServiceTest() override
    {
        client_.reset();
        service_.reset();
        std::filesystem::remove_all(root_);
    }

    static std::filesystem::path MakeFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "service-test-XXXXXX").string();
        if (!::mkdtemp(name.data()))
            throw std::runtime_error("no temporary folder");
        return name;
    }

    void WriteFile(const std::string& name, const std::string& bytes)
    {
        std::filesystem::create_directories((root_ / name).parent_path());
        std::ofstream(root_ / name, std::ios::binary) << bytes;
    }

    httplib::Result Get(const std::string& path, const httplib::Headers& headers = {})
    {
        return client_->Get(path.c_str(), headers);
    }

    /// A reply that must be whole.
    static httplib::Response Whole(const httplib::Result& reply)
    {
        EXPECT_TRUE(reply) << httplib::to_string(reply.error());
        return reply ? reply.value() : httplib::Response();
    }
    httplib::Response Fetch(const std::string& path, const httplib::Headers& headers = {})
    {
        return Whole(Get(path, headers));
    }
    /// The code of the reply, or -1 when there is no whole one.
    int GetCode(const std::string& path)
    {
        const httplib::Result reply = Get(path);
        return reply ? reply->status : -1;
    }

    /// Every byte that the service sends back before it ends the connection.
    std::string Exchange(const std::string& bytes);

    std::filesystem::path root_;
    std::unique_ptr<CatalogueService> service_;
    std::unique_ptr<httplib::Client> client_;
    std::mutex mutex_;
    std::vector<std::string> log_;
};

} // namespace catalogue::testing
