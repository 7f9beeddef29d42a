// What the panel says about the connection to the adapter.

#pragma once

namespace Vantor {

enum class ConnectionState {
    disconnected, ///< nothing runs
    connecting,   ///< started, the adapter has not answered yet
    connected,    ///< the adapter is open
    reconnecting, ///< lost; looked for once a second until it is back or the user stops
};

} // namespace Vantor
