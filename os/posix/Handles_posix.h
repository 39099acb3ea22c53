#pragma once
// The kinds of POSIX handle the program owns, each closed by the function that the system pairs
// with it. Nothing else closes these handles by hand.
#include <dirent.h>
#include <unistd.h>

#include "util/HandleOwner.h"

namespace kw {

// File descriptors from open; "none" is -1, as open answers it.
struct FileDescriptorKind {
    using Handle = int;
    static int Empty() { return -1; }
    static void Close(int descriptor) { ::close(descriptor); }
};

// Folder streams from opendir, closed with closedir.
struct FolderStreamKind {
    using Handle = DIR*;
    static DIR* Empty() { return nullptr; }
    static void Close(DIR* stream) { ::closedir(stream); }
};

using FileDescriptorOwner = HandleOwner<FileDescriptorKind>;
using FolderStreamOwner = HandleOwner<FolderStreamKind>;

} // namespace kw
