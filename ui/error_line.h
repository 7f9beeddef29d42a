// One message about what went wrong, with a sign beside it; takes no room while there is none. GUI thread
// only.

#pragma once

#include <QFrame>

class QLabel;

namespace Vantor {

class ErrorLine : public QFrame {
    Q_OBJECT

public:
    explicit ErrorLine(QWidget* parent = nullptr);

    /// Shows a message until the next one; an empty text hides the line.
    void setMessage(const QString& message);
    QString message() const;

private:
    QLabel* text = nullptr;
};

} // namespace Vantor
