#include "openhost/cad/ProcessSolidKernel.h"

#include <algorithm>

namespace openhost {

namespace {

/// Largest file, in bytes, whose geometry is held ahead.
constexpr std::uintmax_t MaximumAhead = 64 << 20;

SolidCopy CopyBoundary(GeometryProcess& process, const std::string& boundary)
{
    SolidCopy copy;
    bool isCopied = false;
    try {
        process.Run(GeometryJob::Copy, boundary, [&](const std::string& told) {
            copy.geometry.boundary = told;
            isCopied = true;
        });
    } catch (const GeometryJobError& error) {
        if (!isCopied)
            throw SolidKernelError(error.what());
        copy.fault = error.what();
    }
    return copy;
}

} // namespace

SolidCopy ProcessSolidKernel::Copy(const DocumentGeometry& geometry)
{
    const auto begun =
        std::ranges::find_if(begun_, [&](const Begun& candidate) { return *candidate.boundary == geometry.boundary; });
    SolidCopy copy;
    if (begun == begun_.end()) {
        copy = CopyBoundary(pool_->Own(), geometry.boundary);
    } else {
        std::future<SolidCopy> ahead = std::move(begun->copy);
        begun_.erase(begun_.begin(), begun + 1);
        Begin();
        copy = ahead.get();
    }
    copy.geometry.colors = geometry.colors;
    return copy;
}

void ProcessSolidKernel::Expect(const std::vector<std::filesystem::path>& files)
{
    pool_->Drop(this);
    begun_.clear();
    expected_.clear();
    try {
        expected_.assign(files.begin(), files.end());
    } catch (const std::bad_alloc&) {
        return;
    }
    Begin();
}

void ProcessSolidKernel::Begin()
{
    // As many again wait as are worked on, so that no core does.
    while (begun_.size() < 2 * GeometryPool::MostWorkers() && !expected_.empty()) {
        const std::filesystem::path file = std::move(expected_.front());
        expected_.pop_front();
        try {
            if (std::filesystem::file_size(file) > MaximumAhead)
                continue;
            std::optional<DocumentGeometry> geometry = ReadToolGeometry(file, 0);
            if (!geometry)
                continue;
            const auto boundary = std::make_shared<const std::string>(std::move(geometry->boundary));
            begun_.push_back({boundary, {}});
            begun_.back().copy =
                pool_->Start(this, [boundary](GeometryProcess& process) { return CopyBoundary(process, *boundary); });
        } catch (const std::exception&) {
            // The copy itself will tell what is wrong.
            if (!begun_.empty() && !begun_.back().copy.valid())
                begun_.pop_back();
        }
    }
}

void ProcessSolidKernel::Check(const DocumentGeometry& geometry)
{
    try {
        pool_->Own().Run(GeometryJob::Check, geometry.boundary);
    } catch (const GeometryJobError& error) {
        throw SolidKernelError(error.what());
    }
}

} // namespace openhost
