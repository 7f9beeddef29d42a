// Rows of a caption and a value, as the panel's status groups show them. GUI thread only.

#pragma once

#include <QWidget>

class QGridLayout;

namespace Vantor {

class ElidedLabel;

class ValueGrid : public QWidget {
    Q_OBJECT

public:
    explicit ValueGrid(QWidget* parent = nullptr);

    /// Appends a row that knows no value yet; the grid owns the label. `hint` becomes the tool tip of both.
    ElidedLabel* addRow(const QString& caption, const QString& hint);
    /// Appends a row with something to work; the grid owns it, and its tool tip serves the caption too.
    void addControl(const QString& caption, QWidget* control);
    /// Shows a value, or a dash for an empty text.
    static void setValue(ElidedLabel* label, const QString& value);

private:
    void addCaption(int row, const QString& caption, const QString& hint);

    QGridLayout* rows = nullptr;
};

} // namespace Vantor
