#pragma once

#include <kilnx/export.h>

#include <QtWidgets/QDialog>

#include <memory>

namespace Kiln
{
class SnipField;
class SnipFieldsModel;
} // namespace Kiln

namespace Ui
{
class SnipDlg;
class SnipFieldDlg;
} // namespace Ui

/// "Code snippet editor": the code and the fields of one snippet, which it saves as a snippet file
/// or as a source for translations, and shows as it would be inserted.
class KILNX_EXPORT SnipDlg : public QDialog
{
    Q_OBJECT

public:
    /// Opens the snippet of `file`, or an empty one if that is empty or cannot be read; a malformed
    /// file is told and left alone.
    explicit SnipDlg(QWidget *parent, const QString &file = QString());
    ~SnipDlg() override;

    /// Closes the dialog; what is not saved is asked about first.
    void reject() override;

private:
    QByteArray toXml() const;
    void load(const QString &file);
    void addField();
    void editField();
    void removeField();
    void moveUp();
    void moveDown();
    void insertField();
    void save();
    void saveTranslation();
    void preview();
    void updateButtons();
    int currentRow() const;
    bool mayReplace(const QString &chosen, const QString &target);
    bool write(const QString &file, const QByteArray &data);

    std::unique_ptr<Ui::SnipDlg> m_form;
    Kiln::SnipFieldsModel *m_fields;
    QString m_file;
    QByteArray m_saved; ///< what the file holds, or an empty snippet
};

/// "Add field": one field of a snippet.
class KILNX_EXPORT SnipFieldDlg : public QDialog
{
    Q_OBJECT

public:
    /// Shows `field`, or an empty text field for null.
    explicit SnipFieldDlg(QWidget *parent, const Kiln::SnipField *field = nullptr);
    ~SnipFieldDlg() override;

    /// The field that the dialog describes.
    std::unique_ptr<Kiln::SnipField> field() const;

private:
    void typeChanged();

    std::unique_ptr<Ui::SnipFieldDlg> m_form;
    int m_column = -1; ///< of the field shown, which the dialog has no control for
};
