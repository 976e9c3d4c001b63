#pragma once

#include <kilnx/export.h>

#include <QtCore/QAbstractListModel>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>
#include <optional>
#include <vector>

class QWidget;

namespace Kiln
{

/// One field of a snippet: a value that is asked for when the snippet is inserted, and that then
/// takes the place of "@" and the field's name in the code.
class KILNX_EXPORT SnipField
{
public:
    virtual ~SnipField();
    /// "string", "float", "items", or any other word for an integer.
    virtual QString typeName() const = 0;
    /// The further attributes of the field's element, ready to be written, or an empty text.
    virtual QString extraAttributes() const = 0;

    QString name;
    QString title;             ///< the label in the dialog
    std::optional<int> column; ///< the place in a row of the dialog, if it has one; cut to 0 to 10
};

/// A field that is typed in: a text, a number with a fraction, or an integer.
class KILNX_EXPORT RegularSnipField : public SnipField
{
public:
    explicit RegularSnipField(const QString &type);
    QString typeName() const override;
    QString extraAttributes() const override;

private:
    QString m_type;
};

/// A field that is chosen from a list. Entries are separated by ";" in the file.
class KILNX_EXPORT ComboSnipField : public SnipField
{
public:
    QString typeName() const override;
    QString extraAttributes() const override;

    QStringList values; ///< what is written into the code
    QStringList titles; ///< what the list shows, in the same order
};

/// The fields of a snippet as a list, which it owns. DisplayRole is "name: title".
class KILNX_EXPORT SnipFieldsModel : public QAbstractListModel
{
    Q_OBJECT

public:
    using QAbstractListModel::QAbstractListModel;
    ~SnipFieldsModel() override;

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    /// The field in a row, null for a bad one.
    const SnipField *at(int row) const;
    const QList<SnipField *> &fields() const { return m_fields; }
    void append(std::unique_ptr<SnipField> field);
    /// Puts another field in the place of one; a bad row changes nothing, as below.
    void replace(int row, std::unique_ptr<SnipField> field);
    void remove(int row);
    /// Exchanges two rows that stand next to each other, `row` and the one below it.
    void moveDown(int row);

private:
    QList<SnipField *> m_fields;
};

/// What a snippet file says.
struct KILNX_EXPORT Snippet {
    /// Reads a snippet. Without `error` being null it receives what is wrong and where, and the
    /// result is nothing; an unknown element is passed over.
    static std::optional<Snippet> read(const QByteArray &xml, QString *error = nullptr);

    std::vector<std::unique_ptr<SnipField>> fields;
    QString code; ///< lines separated by line feeds, without the indentation of the file
};

/// The file of a snippet, byte for byte as it is stored.
KILNX_EXPORT QByteArray snippetToXml(const QList<SnipField *> &fields, const QString &code);
/// The texts of a snippet as a source for Qt's translation tools.
KILNX_EXPORT QByteArray snippetToTranslation(const QString &name, const QList<SnipField *> &fields);

/// The snippets of the current engine: the XML files of one folder, as a list of their names.
class KILNX_EXPORT SnippetManager : public QAbstractListModel
{
    Q_OBJECT

public:
    /// The one object of the process, made on first use.
    static SnippetManager *instance();

    /// Lists another folder, or the same one again. A missing folder is an empty list.
    void setDirectory(const QString &path);
    const QString &directory() const { return m_directory; }

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    /// The code of a snippet, after a dialog has asked for its fields, if it has any. Empty for a
    /// bad row, a file that cannot be read, and when the user cancels; a malformed file is told.
    QString snippet(QWidget *parent, int row);
    /// The same for the text of a file.
    static QString build(QWidget *parent, const QByteArray &xml);

private:
    SnippetManager() = default;

    QString m_directory;
    QStringList m_files; ///< base names
};

} // namespace Kiln
