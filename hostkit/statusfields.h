#pragma once

#include <hostkit/export.h>

#include <QtCore/QVector>
#include <QtWidgets/QStatusBar>

class QToolButton;

namespace HostKit
{

/// The status bar: fields that editors fill by number, and the count of messages at the right.
///
/// Field 0 is the place in the text, field 1 the errors of the file, field 2 its encoding, which
/// is a button. Higher numbers get a field when they are first used; those from 6 on, which
/// Interface::StatusField does not name, are for the host's own. In a narrow window the texts of
/// fields are cut short, and whole in their tool tips; a message that has no room beside them takes
/// theirs while it stands.
class HOSTKIT_EXPORT StatusFields : public QStatusBar
{
    Q_OBJECT

public:
    explicit StatusFields(QWidget *parent = nullptr);

    /// An empty text hides the field. A negative number, or one above 15, is ignored.
    void setField(int field, const QString &text);
    QString field(int field) const;

    void setMessageCounts(int errors, int warnings);

    /// Shows a line at the left for some seconds.
    void tell(const QString &text);

Q_SIGNALS:
    /// The user pressed a field.
    void fieldClicked(int field);
    /// The user pressed the message counts.
    void messagesClicked();

private:
    QToolButton *fieldButton(int field);
    void makeRoom(const QString &message);

    QVector<QToolButton *> m_fields;
    bool m_isInTheWay = false; ///< the fields have left their place to a message
    QToolButton *m_counts;
};

} // namespace HostKit
