#pragma once

namespace Kiln
{

class Animations;
class Project;

/// The animations of a project: its file of them, or the list that its document has. Null for a
/// project without, and for null.
Animations *animationsOf(const Project *project);

} // namespace Kiln
