#include "ui/device_selector.h"

#include "ui/calm_combo_box.h"
#include "ui/glyph_button.h"
#include "ui/plain_tool_tip.h"

#include <QHBoxLayout>

namespace Vantor {

namespace {

constexpr int kPathRole = Qt::UserRole;
constexpr int kSerialRole = Qt::UserRole + 1;

} // namespace

DeviceSelector::DeviceSelector(QWidget* parent)
    : QWidget(parent), list(new CalmComboBox(this)), refresh(new GlyphButton(Glyph::reload, this)) {
    list->setObjectName(QStringLiteral("deviceList"));
    list->setAccessibleName(tr("Device"));
    // A long name must not dictate the dock's width.
    list->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    list->setMinimumContentsLength(8);
    list->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);

    refresh->setObjectName(QStringLiteral("refreshButton"));
    refresh->setAccessibleName(tr("Refresh device list"));
    refresh->setToolTip(tr("Look for Titan Two devices again"));

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(list, 1);
    row->addWidget(refresh);
    setFocusProxy(list);

    // activated() comes from the user alone; the list's own changes while it is filled stay silent.
    connect(list, &QComboBox::activated, this, [this] {
        if (!selectedPath().isEmpty())
            emit selectionChanged();
    });
    connect(refresh, &QToolButton::clicked, this, &DeviceSelector::refreshRequested);
    setDevices({}, {});
}

void DeviceSelector::setDevices(const QList<TitanDevice>& devices, const QString& rememberedSerial) {
    if (devices == listed && list->count() > 0)
        return; // looked for again and nothing new: an open list stays as it is
    listed = devices;
    const QString path = selectedPath();
    const QString serial = list->currentData(kSerialRole).toString();
    list->clear();
    for (const TitanDevice& device : devices) {
        list->addItem(tr("%1 (%2)").arg(device.name, device.serialNumber), device.path);
        const int index = list->count() - 1;
        list->setItemData(index, device.serialNumber, kSerialRole);
        const QString description =
            tr("%1, serial number %2\n%3").arg(device.manufacturer, device.serialNumber, device.path);
        list->setItemData(index, plainToolTip(description), Qt::ToolTipRole);
    }
    if (devices.isEmpty())
        list->addItem(tr("No Titan Two devices found"));
    list->setEnabled(!devices.isEmpty());
    list->setToolTip(devices.isEmpty() ? tr("Connect a Titan Two to a USB port, then refresh this list")
                                       : tr("The Titan Two that the bridge connects to"));
    list->setCurrentIndex(indexFor(path, serial, rememberedSerial));
}

int DeviceSelector::indexFor(const QString& path, const QString& serial,
                             const QString& rememberedSerial) const {
    const auto find = [this](const QString& value, int role) {
        return value.isEmpty() ? -1 : list->findData(value, role, Qt::MatchExactly | Qt::MatchCaseSensitive);
    };
    for (const int index :
         {find(path, kPathRole), find(serial, kSerialRole), find(rememberedSerial, kSerialRole)})
        if (index >= 0)
            return index;
    return 0;
}

void DeviceSelector::selectPath(const QString& path) {
    const int index = list->findData(path, kPathRole, Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (index >= 0)
        list->setCurrentIndex(index);
}

QString DeviceSelector::selectedPath() const {
    return list->currentData(kPathRole).toString();
}

} // namespace Vantor
