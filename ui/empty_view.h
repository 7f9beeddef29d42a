// What the panel shows while no adapter is attached: what to do about it. GUI thread only.

#pragma once

#include <QWidget>

namespace Vantor {

class EmptyView : public QWidget {
    Q_OBJECT

public:
    explicit EmptyView(QWidget* parent = nullptr);

signals:
    /// The user wants the adapters looked for again.
    void refreshRequested();
};

} // namespace Vantor
