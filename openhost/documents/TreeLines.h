// How trees are drawn in lines of text.
#pragma once

namespace openhost {

/// What a child begins with, and what the lines below it begin with.
struct TreeBranch {
    const char* child;
    const char* below;
};

inline constexpr TreeBranch MiddleBranch{"├─ ", "│  "};
inline constexpr TreeBranch LastBranch{"└─ ", "   "};

} // namespace openhost
