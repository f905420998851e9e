// What a user does with a page.
#pragma once

#include <filesystem>
#include <string>

namespace openhost {

/// The hands and eyes of a user at the page of a real browser. Elements are named by CSS selectors; the first one that
/// a selector finds is meant. Each operation runs the event loop until the browser has done it, and throws
/// std::runtime_error with the reason when it cannot be done. Texts are UTF-8.
class PageUser {
public:
    virtual ~PageUser() = default;
    /// Clicks the middle of the element with the pointer. It must be visible, enabled, and not covered by another one.
    virtual void Click(const std::string& selector) = 0;
    /// Puts the focus into the field and types `text` in place of what it holds.
    virtual void Enter(const std::string& selector, const std::string& text) = 0;
    /// Presses a key, named as in "Tab", "Shift+Tab", "Return", "Escape", "Down".
    virtual void Press(const std::string& key) = 0;
    /// Whether a visible element is there.
    virtual bool Shows(const std::string& selector) = 0;
    /// Writes what the panel shows as a PNG file.
    virtual void SavePicture(const std::filesystem::path& file) = 0;
};

} // namespace openhost
