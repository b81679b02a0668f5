/// @file
/// What opening a file comes to, rule by rule and without a system: the first rule that refuses decides.
#pragma once

namespace plain
{

/// What stands at the path that is to be opened.
enum class Target
{
    missing,
    file,
    directory,
    dangling_link ///< a link to a file that could be made
};

/// What the path says about the directory that the file is to be in.
enum class Parent
{
    exists,
    can_be_made,
    cannot_be_made, ///< two levels are missing, or a file stands there
    not_named       ///< the path has no separator; the file is to be in the working directory, which exists
};

struct OpenOutcome
{
    bool opened;
    bool made_parent;
    bool emptied; ///< or created
};

inline OpenOutcome open(unsigned int access, unsigned int options, Target target, Parent parent)
{
    OpenOutcome const refused = {false, false, false};
    bool const write = (access & 1) != 0;
    bool const share = (access & 4) != 0 || (access & 8) != 0;
    bool const create = (options & 1) != 0;
    bool const create_parent = (options & 2) != 0;
    bool const empty = (options & 4) != 0;

    if ((options & 8) != 0 && !create)
        return refused;
    if ((options & 8) != 0 && share)
        return refused;
    if ((options & 8) != 0 && !write)
        return refused;

    if (!create && !create_parent)
    {
        if (target != Target::file)
            return refused;
        if (empty && !write)
            return refused;
        return {true, false, empty};
    }

    if (!write)
        return refused;
    if (!create)
        return refused;
    bool made_parent = false;
    if (create_parent)
    {
        if (parent == Parent::not_named || parent == Parent::cannot_be_made)
            return refused;
        made_parent = parent == Parent::can_be_made;
    }

    // What the system does.
    if (parent == Parent::cannot_be_made || (parent == Parent::can_be_made && !made_parent))
        return refused;
    if (target == Target::directory)
        return {false, made_parent, false};
    if (target == Target::missing)
        return {true, made_parent, true};
    if (!share)
        return {false, made_parent, false};
    return {true, made_parent, empty || target == Target::dangling_link};
}

} // namespace plain
