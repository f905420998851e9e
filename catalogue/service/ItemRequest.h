// The items of a folder, without a service that is running.
#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace catalogue {

/// Why an item or a query cannot be read.
class ItemError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The message to the module by which the page of the service at the address `base` asks for the download of the item
/// `id`, in one line. Throws ItemError when there is no such item.
std::string ReadDownloadMessage(const std::filesystem::path& root, const std::string& id, const std::string& base);
/// The query that the module has handed to its page last, in the session whose journal is `journal`. Throws ItemError
/// when there is none.
std::string ReadLastQuery(const std::filesystem::path& journal);

} // namespace catalogue
