// The panel's groups, one below the other in a narrow dock, in two columns in a wide one. GUI thread only.

#pragma once

#include <QWidget>

#include <array>
#include <vector>

class QVBoxLayout;

namespace Vantor {

class GroupColumns : public QWidget {
    Q_OBJECT

public:
    explicit GroupColumns(QWidget* parent = nullptr);

    /// Appends a group, which this becomes the parent of. `wideColumn`: 0 or 1, where it stands in a wide
    /// dock.
    void addGroup(QWidget* group, int wideColumn);
    /// That of one column, or the dock could never become narrow again.
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Group {
        QWidget* widget;
        int wideColumn;
    };
    void arrange();

    std::vector<Group> groups;
    std::array<QVBoxLayout*, 2> columns{};
    bool isWide = false;
};

} // namespace Vantor
