#pragma once

#include "findoptions.h"

#include <QWidget>

class QCheckBox;
class QLabel;
class QLineEdit;

namespace Studio
{

/// The strip under an editor that finds and replaces text in its current file.
///
/// It knows no editor: it asks by signal, with the flags that editors understand.
class FindBar : public QWidget
{
    Q_OBJECT

public:
    explicit FindBar(QWidget *parent = nullptr);

    /// Shows the bar with the focus in the search field; `text`, unless empty, replaces its
    /// contents.
    void start(const QString &text);

    QString text() const;
    /// What came of a search, beside the fields.
    void tell(const QString &result);

signals:
    /// What would be found is another text, or has other flags; empty when the bar is closed.
    void soughtChanged(const QString &text, unsigned int flags);
    void findRequested(const QString &text, unsigned int flags);
    void
    replaceRequested(const QString &text, const QString &replacement, unsigned int flags, bool all);
    /// The bar was closed; the focus belongs in the editor again.
    void closed();

public slots:
    void findNext();
    void findPrevious();
    void replaceOne();
    void replaceAll();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    unsigned int flags() const;
    void tellSought();
    bool isUsable();
    void dismiss();

    QLineEdit *m_text;
    QLineEdit *m_replacement;
    FindOptions m_options;
    QCheckBox *m_wrap;
    QLabel *m_result;
};

} // namespace Studio
