#pragma once

namespace torvelane {

/// Makes this executable the one that opens "torvelane://" links of the current user (HKCU\Software\Classes). Called at
/// every start of the window layer, so that a moved program is found again; a failure is logged by the registry layer
/// and costs only the links. https://learn.microsoft.com/previous-versions/windows/internet-explorer/ie-developer/platform-apis/aa767914(v=vs.85)
void registerUrlProtocol();

} // namespace torvelane
