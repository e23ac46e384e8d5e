#pragma once

// The public face of the core: what the application, the command line and the tests include.
#include "VintrelCore/base/Shell.h"
#include "VintrelCore/base/UnicodeText.h"
#include "VintrelCore/command/CLICore.h"
#include "VintrelCore/command/CLIScan.h"
#include "VintrelCore/context/AncestryResolver.h"
#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/context/OpenFilesResolver.h"
#include "VintrelCore/context/PortRegistry.h"
#include "VintrelCore/docker/DockerCore.h"
#include "VintrelCore/docker/DockerService.h"
#include "VintrelCore/log/CleanLog.h"
#include "VintrelCore/log/CleanLogFile.h"
#include "VintrelCore/log/ScanHistory.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/scan/ScanCore.h"
