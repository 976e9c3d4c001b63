#pragma once

#include <hostkit/export.h>

#include <kilnx/codeedit/codeworkspace.h>

#include <QtCore/QPointer>

namespace HostKit
{

class EngineLibraries;

/// The one view of code of a host: the library's, with the colours of the host's themes for the
/// tokens, and with the words and snippets of the current engine.
class HOSTKIT_EXPORT CodeSurface : public Kiln::CodeWorkspace
{
    Q_OBJECT

public:
    CodeSurface(Kiln::Interface &host, const EngineLibraries &engines);

    void reconfig() override;
    /// Takes the words of the current engine, and sees to it that the user has its snippets before
    /// they are listed.
    void engineSwitched(bool switched) override;

    Kiln::CodeDocument *document() const { return editor()->codeDocument(); }

private:
    void updateSyntaxFormats();

    const EngineLibraries &m_engines;
    QPointer<QObject> m_words; ///< what the current engine made for the view
};

} // namespace HostKit
