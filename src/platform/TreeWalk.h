// A walk through a tree of directories in order to remove it.
#ifndef OSUPT_PLATFORM_TREE_WALK_H
#define OSUPT_PLATFORM_TREE_WALK_H

#include <memory>
#include <string>

namespace OrvoSupport::platform {

/// Stands at one entry of one directory; in the beginning at the directory that the path names, in its
/// parent. Never follows a link, neither one that is there nor one that is put in the place of a directory
/// during the walk. The entries of a directory are those it had when it was entered. The depth of the tree is
/// limited by memory only.
///
/// Results of type int are 0 for success.
class TreeWalk {
public:
    explicit TreeWalk(const std::string& path);
    ~TreeWalk();
    TreeWalk(const TreeWalk&) = delete;
    TreeWalk& operator=(const TreeWalk&) = delete;

    /// Moves to the next entry of the current directory; false when there is none. "." and ".." are left out.
    bool next();
    /// The entry's name, valid until the walk moves.
    const char* name() const;
    /// Whether the entry was a directory when the current directory was entered. On Windows a link to a
    /// directory counts as one.
    bool isDirectory() const;

    /// Removes the entry if it is an empty directory; else an errno value as rmdir sets it.
    int tryRemoveDirectory();
    /// The same with the system's last error as result.
    int removeDirectory();
    /// Removes the entry if it is not a directory; else the system's last error.
    int removeFile();

    /// Makes the entry the current directory, standing before its first entry. False if it is no directory
    /// (any more) or cannot be read; the walk stands where it stood then.
    bool enter();
    /// Goes back to the entry that was entered. A system's error if it is not where it was, and the walk is
    /// over.
    int leave();

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace OrvoSupport::platform

#endif
