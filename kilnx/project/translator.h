#pragma once

#include <kilnx/export.h>

#include <QtCore/QObject>
#include <QtCore/QString>

namespace Kiln
{

/// Display texts by number.
///
/// Every action and caption of an editor is registered with a number instead of a string, so that
/// a host can build menus, tool bars and a shortcut list from one table and ask again when the
/// language changes.
class KILNX_EXPORT Translator
{
public:
    virtual ~Translator();

    /// The display name of an action or caption; empty for an unknown id.
    virtual QString text(int id) const = 0;
    /// The longer tool tip of the same id; `text(id)` unless overridden.
    virtual QString hint(int id) const;
    /// A third, still longer text of the same id; a null string unless overridden.
    virtual QString description(int id) const;
};

/// The library's own table: the names and tool tips of all editor actions, ids 0 to 178.
///
/// All texts go through Qt translation in the context "Kiln::Translator"; the English wording is
/// the key of the translation files. An id outside the table gives an empty string, and so does
/// the hint of an id that has none.
class KILNX_EXPORT KilnTranslator : public QObject, public Translator
{
    Q_OBJECT

public:
    /// The ids that the library's own workspaces and panels use.
    enum TextId {
        SystemText = 0,
        CodeBarText = 2,
        CentralizeText = 3,
        MainCrossText = 4,
        SecondaryCrossText = 5,
        ExtraCrossText = 6,
        RulersText = 7,
        GuideLinesText = 8,
        AttackBoxText = 9,
        CollisionBoxText = 10,
        SnippetsText = 11,
        SnippetInsertText = 12,
        SnippetNewText = 13,
        SnippetEditText = 14,
        GoToText = 16,
        PrevErrorText = 17,
        NextErrorText = 18,
        PrevDeprecationText = 19,
        NextDeprecationText = 20,
        CommentText = 21,
        FoldAllText = 22,
        UnfoldAllText = 23,
        AddAttackBoxText = 61,
        AddCollisionBoxText = 62,
        DeleteBoxesText = 63,
        OnionSkinText = 94,
        OrganizerText = 165,
        OrganizerUpText = 166,
        OrganizerDownText = 167,
        OrganizerUp10Text = 168,
        OrganizerDown10Text = 169,
        OrganizerTopText = 170,
        OrganizerBottomText = 171,
        OrganizerAutoText = 172,
        ThumbnailsText = 173,
        ThumbnailsAddSelectedText = 174,
        ThumbnailsAddAllText = 175,
        ThumbnailsNewSelectedText = 176,
        ThumbnailsNewAllText = 177,
        ThumbnailsSaveText = 178,
    };

    /// How many ids the table has; the last one is `idCount - 1`.
    static constexpr int idCount = 179;

    /// The one object of the process, made on first use and never null.
    static KilnTranslator *instance();

    QString text(int id) const override;
    QString hint(int id) const override;

private:
    KilnTranslator() = default;
};

} // namespace Kiln
