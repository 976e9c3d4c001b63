#pragma once

#include <kilnx/codeedit/codeworkspace.h>

namespace Studio
{

/// The one view of code in Studio: the library's, with the colours of Studio's themes for the
/// tokens, and with the words of the engine for completion.
class CodeSurface : public Kiln::CodeWorkspace
{
    Q_OBJECT

public:
    explicit CodeSurface(Kiln::Interface &host);

    void reconfig() override;
    /// Sees to it that the user has the engine's snippets before they are listed.
    void engineSwitched(bool switched) override;

    Kiln::CodeDocument *document() const { return editor()->codeDocument(); }

private:
    void updateSyntaxFormats();
};

} // namespace Studio
