// A line of text that gives way in a narrow dock: it ends in dots instead of widening the panel. The whole
// text stays available to screen readers, and to everybody as the tool tip while it is cut. GUI thread only.

#pragma once

#include <QLabel>

namespace Vantor {

class ElidedLabel : public QLabel {
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget* parent = nullptr);

    /// What hovering shows while the text is not cut.
    void setHint(const QString& text);
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    bool isCut() const;

    QString hint;
};

} // namespace Vantor
