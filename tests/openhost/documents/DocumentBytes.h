// Documents for tests, and documents with one stream that is wrong.
#pragma once

#include "openhost/documents/CadDocument.h"

#include <functional>
#include <string>

namespace openhost::testing {

/// A part with every kind of data.
CadDocument SomePart();
/// A product with three children of two documents.
CadDocument SomeProduct();

/// The compound file of a document whose storage holds `streams`.
std::string FileWithStreams(const std::vector<std::pair<std::string, std::string>>& streams);
/// The streams of `document`, in the order in which it is written.
std::vector<std::pair<std::string, std::string>> StreamsOf(const CadDocument& document);
/// The compound file of `document` with its stream `name` put through `change`, and a head that fits what it holds
/// then.
std::string WithStream(const CadDocument& document, const std::string& name,
                       const std::function<void(std::string& stream)>& change);
/// The same with `number` in four bytes at `offset`.
std::string WithNumber(const CadDocument& document, const std::string& name, std::size_t offset, std::uint32_t number);
/// The same with the head as `change` leaves it.
std::string WithWholeStream(const CadDocument& document, const std::string& name,
                            const std::function<void(std::string& stream)>& change);
/// Puts `number` in four bytes at `offset`.
void Put(std::string& stream, std::size_t offset, std::uint32_t number);

/// Length of a stream's head.
inline constexpr std::size_t HeadSize = 20;

/// What ParseDocument says about `bytes`; empty when it takes them.
std::string Refusal(const std::string& bytes);

} // namespace openhost::testing
