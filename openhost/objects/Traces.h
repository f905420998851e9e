// Activation and output of trace objects.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace openhost {

/// Receives each text that is put to the trace object `name`.
using TraceOutput = std::function<void(std::string_view name, std::string_view text)>;

/// Switches all trace objects, those that are made later included. At the start of the process they are on
/// when the environment variable OPENHOST_TRACES names them, separated by commas, or is "*".
void SwitchTraces(bool on);
/// Switches the trace objects named `name`.
void SwitchTraces(const std::string& name, bool on);
/// Sends texts to `output` instead of the output of the trace object; an empty function goes back to it.
void RedirectTraces(TraceOutput output);

} // namespace openhost
