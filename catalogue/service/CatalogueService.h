// The Velmart service in a box: catalogue items and their downloads over HTTP on loopback.
#pragma once

#include "catalogue/service/ServiceLimits.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace catalogue {

/// A service on a folder that holds
///   - items.sqlite: the items as an ItemStore keeps them, which GET /items and GET /search find;
///   - items/ID.json: the request of the item ID, as the catalogue page sends it;
///   - pictures/ID.png: what GET /items/ID/picture sends;
///   - shapes/ID.lvr: what GET /items/ID/shape sends, a light representation;
///   - files/NAME: what GET /files/NAME sends, and files/templates/NAME in the same way;
///   - page/NAME: the files of the catalogue's page, whose index.html GET / and GET /categories send.
/// In the texts of the JSON files "${BASE}" stands for the address of the service, and "${FILES}" for the
/// absolute path of the folder of files, percent-encoded for a file URL.
///
/// Start, Stop and the destructor belong to one thread; requests are served on others. Only requests whose
/// Host header names this machine's loopback are answered, so that no page of another site can reach the
/// service under a name of its own; and an upload by a page of another site is refused.
class CatalogueService {
public:
    /// Receives one line about each request once it is answered, on the thread that served it.
    using Log = std::function<void(const std::string& line)>;

    /// Throws std::runtime_error when `root` is no folder, or holds no items.
    explicit CatalogueService(const std::filesystem::path& root, const Log& log = {}, const ServiceLimits& limits = {});
    CatalogueService(const CatalogueService&) = delete;
    CatalogueService& operator=(const CatalogueService&) = delete;
    /// Stops the service.
    ~CatalogueService();

    /// Listens on 127.0.0.1 and returns at once; port 0 takes a free one. Throws std::runtime_error when the
    /// port cannot be had. A service is started once.
    void Start(int port = 0);
    /// Takes no more requests, ends slow replies, and waits for the others.
    void Stop();

    /// The port in use; 0 before Start.
    int GetPort() const;
    /// Such as "http://127.0.0.1:8080".
    std::string GetAddress() const;

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace catalogue
