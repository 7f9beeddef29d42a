// Text that a program wrote to its standard streams, as tests compare it.

#pragma once

#include <QByteArray>

#include <string>

namespace Vantor::test {

/// With "\n" for whatever the system ends its lines with.
inline std::string textOf(QByteArray written) {
    return written.replace("\r\n", "\n").toStdString();
}

} // namespace Vantor::test
