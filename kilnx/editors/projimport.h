#pragma once

#include <kilnx/export.h>

#include <QtCore/QAbstractListModel>
#include <QtCore/QItemSelectionModel>
#include <QtCore/QList>
#include <QtCore/QPointer>
#include <QtCore/QVector>
#include <QtWidgets/QDialog>

#include <memory>
#include <vector>

class QButtonGroup;
class QComboBox;
class QLineEdit;
class QListView;
class QPushButton;

namespace Kiln
{

class AudioSampleWidget;
class Interface;
class Project;
class SourcePictures;

/// An item that is to be copied from another project.
struct ImportItem {
    int row = 0;  ///< in the list of the source
    QString name; ///< its identifier in the destination
};

/// What becomes of an item whose name the destination has already.
enum class ConflictPolicy {
    Ask = 0,
    Replace = 1,  ///< the existing item takes the contents over
    Skip = 2,     ///< it is left out
    AddAnyway = 3 ///< it is added beside the existing one
};

/// What the user has chosen in a ProjImportDlg. The items belong to the dialog.
struct ImportOptions {
    QPointer<Project> project; ///< the source; null when there is none
    QList<ImportItem *> items;
    ConflictPolicy policy = ConflictPolicy::Ask;
};

/// The items of an import as a list of one column, in which names are edited.
class KILNX_EXPORT ImportModel : public QAbstractListModel
{
    Q_OBJECT

public:
    explicit ImportModel(QObject *parent = nullptr);
    ~ImportModel() override;

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    /// Returns true for every role, but only Qt::EditRole changes something.
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

    /// They are the model's.
    QList<ImportItem *> items() const;
    void append(int row, const QString &name);
    void remove(int row);
    void clear();

private:
    ImportItem *itemAt(const QModelIndex &index) const;

    std::vector<std::unique_ptr<ImportItem>> m_items;
};

} // namespace Kiln

/// "Import from another project": which items of which open project are copied, under which names,
/// and what becomes of names that exist. Each kind of item derives a class that tells where the
/// items are. A field above the source's list leaves the items in sight whose names have what is
/// typed there; those that are out of sight are neither selected by the buttons nor added. Run it
/// with exec(); it rejects itself when the source or the destination is closed.
class KILNX_EXPORT ProjImportDlg : public QDialog
{
    Q_OBJECT

public:
    /// The projects of `interface` are offered, without `destination`.
    ProjImportDlg(Kiln::Interface *interface, Kiln::Project *destination, QWidget *parent);
    ~ProjImportDlg() override;

    Kiln::ImportOptions options() const;

    void accept() override;

protected:
    /// The name of a row of sourceModel().
    virtual QString itemName(QAbstractItemModel *model, int row) = 0;
    /// The items of a project; null for none.
    virtual QAbstractItemModel *sourceModel(Kiln::Project *project) = 0;
    /// The user has chosen another source, null for none.
    virtual void sourceChanged(Kiln::Project *project);
    Kiln::Project *source() const;
    void showEvent(QShowEvent *event) override;
    /// The list of the source's items.
    QListView *sourceList() const { return m_sourceList; }
    /// Puts a group of fields above the buttons.
    void addGroup(QWidget *group);
    /// Puts fields below the source's list.
    void addBelowSource(QLayout *fields);

private:
    QWidget *makeSource();
    QWidget *makeDestination();
    QWidget *makeConflicts();
    void fillProjects();
    QString told(Kiln::Project *project) const;
    void showSource();
    void rowsChanged();
    void filterSource();
    void selectShown(QItemSelectionModel::SelectionFlags command);
    void addFromSource();
    void removeSelected();

    Kiln::Interface *m_interface;
    QPointer<Kiln::Project> m_destination;
    Kiln::ImportModel m_model;
    QComboBox *m_projects = nullptr;
    QVector<QPointer<Kiln::Project>> m_sources; ///< as they stand there
    QLineEdit *m_search = nullptr;
    QListView *m_sourceList = nullptr;
    QListView *m_list = nullptr;
    QButtonGroup *m_policy = nullptr;
};

/// The import of sprites, which are seen beside their names, with the palette that they come to.
class KILNX_EXPORT SprImportDlg : public ProjImportDlg
{
    Q_OBJECT

public:
    SprImportDlg(Kiln::Interface *interface, Kiln::Project *destination, QWidget *parent);

    /// A Sprite::PaletteMode.
    int mode() const;
    /// The row of the source's palette that serves the modes above 1; -1 for none.
    int palette() const;

protected:
    QString itemName(QAbstractItemModel *model, int row) override;
    QAbstractItemModel *sourceModel(Kiln::Project *project) override;
    void sourceChanged(Kiln::Project *project) override;

private:
    QComboBox *m_mode;
    QComboBox *m_palette;
    Kiln::SourcePictures *m_pictures;
};

/// The import of animations, whose first frames are seen beside their names.
class KILNX_EXPORT AnimImportDlg : public ProjImportDlg
{
    Q_OBJECT

public:
    AnimImportDlg(Kiln::Interface *interface, Kiln::Project *destination, QWidget *parent);

protected:
    QString itemName(QAbstractItemModel *model, int row) override;
    QAbstractItemModel *sourceModel(Kiln::Project *project) override;
    void sourceChanged(Kiln::Project *project) override;

private:
    Kiln::SourcePictures *m_pictures;
};

/// The import of sounds. The current one is seen below the list, and a button plays it.
class KILNX_EXPORT SndImportDlg : public ProjImportDlg
{
    Q_OBJECT

public:
    SndImportDlg(Kiln::Interface *interface, Kiln::Project *destination, QWidget *parent);

protected:
    QString itemName(QAbstractItemModel *model, int row) override;
    QAbstractItemModel *sourceModel(Kiln::Project *project) override;
    void sourceChanged(Kiln::Project *project) override;

private:
    void showSound(int row);
    void play(bool checked);

    Kiln::AudioSampleWidget *m_wave;
    QPushButton *m_play;
};
