// As Linux lists it, in /proc.

#include "footprint.h"

#include <QDir>
#include <QFile>

namespace Vantor::campaign {

namespace {

int entriesOf(const char* folder) {
    return static_cast<int>(QDir(QString::fromLatin1(folder))
                                .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
                                .size());
}

} // namespace

Footprint Footprint::now() {
    Footprint found{.descriptors = entriesOf("/proc/self/fd"), .threads = entriesOf("/proc/self/task")};
    constexpr long kPageKb = 4;
    if (QFile pages(QStringLiteral("/proc/self/statm")); pages.open(QIODevice::ReadOnly))
        found.residentKb = pages.readAll().split(' ').value(1).toLong() * kPageKb;
    return found;
}

} // namespace Vantor::campaign
