// A catalogue that runs beside a window.
#pragma once

#include "openhost/files/Descriptor.h"

#include <filesystem>
#include <string>

#include <sys/types.h>

namespace openhost {

/// The program `velmart-catalogue` on a free port of loopback, until the end of the object or of this process.
class CatalogueProcess {
public:
    /// Starts `program` and waits until it listens. Throws std::runtime_error with the reason when it does not.
    explicit CatalogueProcess(const std::filesystem::path& program);
    CatalogueProcess(const CatalogueProcess&) = delete;
    CatalogueProcess& operator=(const CatalogueProcess&) = delete;
    ~CatalogueProcess();

    /// Such as "http://127.0.0.1:8080".
    const std::string& Address() const { return address_; }

private:
    void End() const;

    pid_t process_ = 0;
    Descriptor output_; ///< of the program, which would be stopped by its end
    std::string address_;
};

} // namespace openhost
