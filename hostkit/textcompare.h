#pragma once

#include <hostkit/export.h>

#include <QtCore/QStringList>
#include <QtCore/QVector>
#include <QtWidgets/QPlainTextEdit>

namespace HostKit
{

/// A line of a comparison of two texts.
struct ComparedLine {
    enum Kind { Same, Removed, Added };
    Kind kind;
    QString text;
};

/// What has to be removed from `before` and added to it to get `after`, in order, with as few lines
/// as can be (E. W. Myers, "An O(ND) Difference Algorithm and Its Variations", 1986). Between texts
/// that differ in more than a thousand lines, all that lies between their common start and their
/// common end counts as removed and added.
HOSTKIT_EXPORT QVector<ComparedLine> compareLines(const QStringList &before,
                                                  const QStringList &after);

/// Shows the lines in which two texts differ, each with a "-" or "+", with a few lines around them.
class HOSTKIT_EXPORT CompareView : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit CompareView(QWidget *parent = nullptr);

    /// Shows the way from one text to another; both have their lines apart by "\n".
    void compare(const QString &before, const QString &after);

private:
    void addLine(const ComparedLine &line);
};

} // namespace HostKit
