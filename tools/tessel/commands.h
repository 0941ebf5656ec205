// The commands of the tool. Each Register function adds one subcommand below parent (the "mail" or "contacts"
// command, or the tool itself); its callback leaves the exit code in ctx.nExit. main.cpp is the command table.
#pragma once

#include "context.h"
#include "storekind.h"

namespace CLI {
class App;
}

void RegisterFoldersCommand(CLI::App &parent, const StoreKind &kind, ToolContext &ctx);
void RegisterListCommand(CLI::App &parent, const StoreKind &kind, ToolContext &ctx);
void RegisterScanCommand(CLI::App &parent, const StoreKind &kind, ToolContext &ctx);
void RegisterCompareCommand(CLI::App &parent, const StoreKind &kind, ToolContext &ctx);
void RegisterDedupeCommand(CLI::App &parent, const StoreKind &kind, ToolContext &ctx);
void RegisterUndoCommand(CLI::App &app, ToolContext &ctx);
void RegisterReportCommand(CLI::App &app, ToolContext &ctx);

// --version: the tool's and the loaded library's versions.
void RegisterVersionFlag(CLI::App &app);
