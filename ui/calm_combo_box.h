// A combo box for panels that scroll: turning the wheel over it scrolls on and never changes what is chosen,
// which here would switch a live console's protocol. GUI thread only.

#pragma once

#include <QComboBox>
#include <QWheelEvent>

namespace Vantor {

class CalmComboBox : public QComboBox {
    Q_OBJECT

public:
    using QComboBox::QComboBox;

protected:
    void wheelEvent(QWheelEvent* event) override { event->ignore(); }
};

} // namespace Vantor
