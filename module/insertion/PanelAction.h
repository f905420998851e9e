// What a message of the page asks for.
#pragma once

#include <cstdint>

enum PanelAction : std::int32_t {
    ActionDownload = 1,
    ActionOpen = 2,
    ActionInsert = 3,
    ActionReplace = 4,
};
