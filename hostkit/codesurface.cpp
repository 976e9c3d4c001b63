#include <hostkit/codesurface.h>

#include <hostkit/enginelibraries.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/engineplugin.h>
#include <kilnx/project/interface.h>

#include <QAction>

namespace HostKit
{

CodeSurface::CodeSurface(Kiln::Interface &host, const EngineLibraries &engines)
    : Kiln::CodeWorkspace(host)
    , m_engines(engines)
{
}

void CodeSurface::reconfig()
{
    updateSyntaxFormats();
    Kiln::CodeWorkspace::reconfig();
    Kiln::CodeEditor::SyntaxFormatting format = editor()->syntaxFormatting();
    format.parenError.setForeground(Qt::white);
    format.parenError.setBackground(interface->colorOption(QStringLiteral("paren_error")));
    editor()->setSyntaxFormatting(format);
    QAction *bar = interface->actionByKey("view_code_bar");
    if (bar && bar->isEnabled()) {
        bar->setChecked(interface->option(QStringLiteral("show_code_bar"), QVariant()).toBool());
        showTextBar(bar->isChecked());
    }
}

void CodeSurface::engineSwitched(bool switched)
{
    delete m_words;
    if (Kiln::EnginePlugin *plugin = switched ? m_engines.current() : nullptr) {
        m_words = plugin->prepareView(editor());
        plugin->deliverSnippets(interface->userPath() + plugin->engine().enginePath() +
                                QStringLiteral("/snippets"));
    }
    Kiln::CodeWorkspace::engineSwitched(switched);
}

// Family and size are left out, so that they follow the font of the document.
void CodeSurface::updateSyntaxFormats()
{
    using Syntax = Kiln::CodeParserSyntax;
    for (int type = Syntax::Default; type <= Syntax::Function; ++type) {
        QTextCharFormat format;
        format.setForeground(interface->colorOption(QStringLiteral("token%1").arg(type)));
        format.setFontItalic(type == Syntax::Comment);
        const bool bold = type >= Syntax::Name && type <= Syntax::Constant;
        format.setFontWeight(bold ? QFont::Bold : QFont::Normal);
        Kiln::CodeDocument::setSyntaxFormat(Syntax::TokenType(type), format);
    }
}

} // namespace HostKit
