#include "virtual_adapter_library.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibrary>

#include <array>

namespace Vantor::devhost {

namespace {

// From this program's directory.
constexpr char kLibraryFile[] = FERRYLINK_VIRTUAL_ADAPTER_FILE;

} // namespace

VirtualAdapterLibrary::~VirtualAdapterLibrary() {
    if (adapter >= 0)
        remove(adapter);
}

template<typename Function>
bool VirtualAdapterLibrary::resolve(Function& function, const char* name) {
    const QString file =
        QDir(QCoreApplication::applicationDirPath()).absoluteFilePath(QString::fromUtf8(kLibraryFile));
    QLibrary library(file); // loaded once per process, whatever the number of these objects
    // The plug-in's references to hid_* are to be met by this library, so its symbols must be global.
    library.setLoadHints(QLibrary::ExportExternalSymbolsHint | QLibrary::PreventUnloadHint);
    if (!library.load()) {
        error = QStringLiteral("The simulated adapter cannot be loaded: %1").arg(library.errorString());
        return false;
    }
    function = reinterpret_cast<Function>(library.resolve(name));
    if (function == nullptr)
        error = QStringLiteral("%1 has no function %2; it does not belong to this program.")
                    .arg(file, QString::fromLatin1(name));
    return function != nullptr;
}

bool VirtualAdapterLibrary::load(const QString& serial) {
    const bool resolved = resolve(add, "virtual_adapter_add") && resolve(remove, "virtual_adapter_remove") &&
                          resolve(unplugAdapter, "virtual_adapter_unplug") &&
                          resolve(replugAdapter, "virtual_adapter_replug") &&
                          resolve(setRates, "virtual_adapter_set_rates") &&
                          resolve(getStatistics, "virtual_adapter_get_statistics") &&
                          resolve(getErrorText, "virtual_adapter_error_text");
    if (!resolved)
        return false;
    adapter = add(nextPath().constData(), serial.toLatin1().constData(), "ConsoleTuner");
    if (adapter < 0)
        error = QStringLiteral("The simulated adapter could not be plugged in.");
    return adapter >= 0;
}

QByteArray VirtualAdapterLibrary::nextPath() {
    return "virtual:" + QByteArray::number(++pathNumber);
}

bool VirtualAdapterLibrary::setStateRate(unsigned hz) {
    return setRates(adapter, hz, hz) == 0;
}

bool VirtualAdapterLibrary::unplug() {
    return unplugAdapter(adapter) == 0;
}

bool VirtualAdapterLibrary::replug() {
    return replugAdapter(adapter, nextPath().constData()) == 0;
}

virtual_adapter_statistics VirtualAdapterLibrary::statistics() const {
    virtual_adapter_statistics counts{};
    counts.size = sizeof counts;
    getStatistics(adapter, &counts);
    return counts;
}

QStringList VirtualAdapterLibrary::protocolErrors() const {
    QStringList texts;
    std::array<char, 256> text{};
    for (unsigned i = 0;
         i < VIRTUAL_ADAPTER_ERROR_TEXTS && getErrorText(adapter, i, text.data(), text.size()) >= 0; ++i)
        texts += QString::fromUtf8(text.data());
    return texts;
}

} // namespace Vantor::devhost
