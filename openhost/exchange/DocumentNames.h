// Part numbers for products from outside, which name their documents' files too.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace openhost {

/// Longest such name, in bytes: with an ending, a number and the name of a temporary file it is one that every file
/// system takes.
inline constexpr std::size_t MaximumDocumentName = 200;

/// `text` as one line of a document: UTF-8 without control characters, blanks at its ends or more bytes than a document
/// takes. A byte that belongs to no character is one of ISO 8859-1.
std::string ReadableText(std::string_view text);

/// `text` as the name of a file on every system: readable, without what separates or is reserved, no dot first or last;
/// empty when nothing is left.
std::string ReadableFileName(std::string_view text);

/// Names of which no two differ in letter case only.
class DocumentNames {
public:
    /// `wanted`, or when it is taken that with the lowest number that it has not had yet, from -2.
    std::string Take(const std::string& wanted);

private:
    std::unordered_set<std::u16string> taken_;
    std::unordered_map<std::string, std::size_t> next_; ///< number by what was wanted
};

/// Names of the instances in one product.
class InstanceNames {
public:
    /// `wanted`; when it is taken that, and when it is empty `product`, which stands there, with the lowest number that
    /// it has not had yet, from .1
    std::string Take(const std::string& wanted, const std::string& product);

private:
    std::unordered_set<std::string> taken_;
    std::unordered_map<std::string, std::size_t> next_;
};

} // namespace openhost
