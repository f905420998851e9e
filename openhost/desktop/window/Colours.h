// Light and dark.
#pragma once

namespace openhost {

enum class Colours { System, Light, Dark };

/// Gives all windows these colours from now on. Those of the system are what its desktop says, light without one.
void UseColours(Colours colours);

} // namespace openhost
