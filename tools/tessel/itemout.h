// How folders and items look in tables and in JSON, per store.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "records.h"
#include "storekind.h"

std::vector<std::string> ItemHeader(const StoreKind &kind);
std::vector<std::string> ItemCells(const StoreKind &kind, const ItemInfo &item);
nlohmann::ordered_json ItemJson(const StoreKind &kind, const ItemInfo &item);

std::vector<std::string> FolderHeader(const StoreKind &kind);
std::vector<std::string> FolderCells(const StoreKind &kind, const FolderInfo &folder);
nlohmann::ordered_json FolderJson(const StoreKind &kind, const FolderInfo &folder);

// Prints a JSON document on standard output, indented.
void PrintJson(const nlohmann::ordered_json &doc);
