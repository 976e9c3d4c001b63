#pragma once

// Every public header of the library, room by room.

#include <kilnx/export.h>
#include <kilnx/editors/controls.h>
#include <kilnx/editors/fieldguard.h>
#include <kilnx/forms/itemsdialog.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/forms/rundlg.h>
#include <kilnx/image/codecs.h>
#include <kilnx/image/colorquantizer.h>
#include <kilnx/image/colorwidget.h>
#include <kilnx/image/gif.h>
#include <kilnx/image/imageops.h>
#include <kilnx/image/imagepalette.h>
#include <kilnx/image/palette.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/editor.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/fileeditor.h>
#include <kilnx/project/filewatch.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/parentproject.h>
#include <kilnx/project/paths.h>
#include <kilnx/project/progress.h>
#include <kilnx/project/project.h>
#include <kilnx/project/projectfile.h>
#include <kilnx/project/propertyitem.h>
#include <kilnx/project/translator.h>
#include <kilnx/project/treemodel.h>
#include <kilnx/project/workspace.h>
