// What the tool reads of a store, as plain values: the rows of its tables and the tree of its
// dump. Every reader goes through the exported interface and gives false after a report.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "marrows/marrows.h"

// An attribute value as text and as the kind it has: "integer", "double", "boolean", "string",
// "datetime" (ISO 8601, UTC) or "object" (then `object` is filled).
struct AttributeView;
struct ObjectView {
    std::string type;
    std::vector<AttributeView> attributes;
    bool seen_before = false;  // an object met again on the way; its attributes aren't repeated
    uint32_t number = 0;       // the order in which the dump first met it, from 1
};
struct AttributeView {
    std::string name;
    std::string kind;
    std::string text;
    std::vector<ObjectView> object;  // one element for kind "object" with a target
};

struct DependencyView {
    std::string child;
    std::string kind;  // the dependency's class text
    int type = 0;
    bool child_in_workspace = false;
};

struct ItemView {
    std::string name;
    std::string type;
    std::string description;
    std::string target_branch;
    std::string target_revision;
    std::string target_release_level;
    std::string target_folder;
    bool modified = false;
    std::string role;     // "generic", "instance", "generic+instance" or ""
    std::string library;  // its library's name, if a member
    std::string file;     // the path of its first local file, "" for none
    std::vector<AttributeView> attributes;
    std::vector<DependencyView> dependencies;
};

struct StateView {
    int number = 0;
    bool current = false;
    std::string description;
    int user_data_id = 0;
};

struct WorkspaceView {
    std::string name;
    std::string directory;
    std::string description;
    int state_count = 0;
    int current_state = 0;
    int item_count = 0;
    bool under_integration = false;
};

// The value of an attribute read from the generic exports (with object values), or from an
// item version's (without).
AttributeView AttributeOf(const std::string& name, const PDMAttrValue& value);
// The first object read with an empty `seen` is taken for the root, which the connection's
// handle stands for.
bool ReadObject(LDBObjectHandle object, ObjectView& out, std::vector<LDBObjectHandle>& seen);
bool ReadWorkspace(WorkspaceHandle ws, WorkspaceView& out);
bool ReadStates(WorkspaceHandle ws, std::vector<StateView>& out);
// The items of the current state, or the modified ones only; with details (attributes and
// dependencies) when asked.
bool ReadItems(WorkspaceHandle ws, bool modifiedOnly, bool details, std::vector<ItemView>& out);
