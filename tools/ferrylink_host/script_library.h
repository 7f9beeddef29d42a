// A list of script files that can be dragged onto the panel's memory slots. It reads what it needs for
// showing them and nothing else: loading is the panel's business. GUI thread only.

#pragma once

#include <QListWidget>

namespace Vantor::devhost {

class ScriptLibrary : public QListWidget {
    Q_OBJECT

public:
    explicit ScriptLibrary(QWidget* parent = nullptr);

    /// Lists the folder's scripts (.gpc), bytecode files (.gbc) and input translators (.git) by name.
    void showFolder(const QString& folder);
    /// The examples that came with this program; empty when they are not there.
    static QString examplesFolder();

protected:
    QStringList mimeTypes() const override;
    /// One file: its absolute path in UTF-8, under the format of its kind.
    QMimeData* mimeData(const QList<QListWidgetItem*>& items) const override;
    Qt::DropActions supportedDropActions() const override { return Qt::CopyAction; }

private:
    void addFile(const QString& path);
};

} // namespace Vantor::devhost
