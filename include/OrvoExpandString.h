// Text with references to settings, and values of the machine-wide registry.
#ifndef ORVO_EXPAND_STRING_H
#define ORVO_EXPAND_STRING_H

#include "OrvoExport.h"
#include "OrvoProperties.h"
#include "OrvoString.h"

namespace OrvoSupport {

// Both forms of OrvoExpandString replace "<NAME>" by the value of NAME until no reference is left. NAME is
// all that stands between a "<" and the next ">", as it is and possibly empty. After each replacement the
// text is searched from its beginning: a value may hold references itself, and even the "<" of a name that
// goes on behind it. A "<" without a ">" behind it stays as it is and ends the expansion. Nothing escapes a
// reference.
//
// A name whose value refers to it, directly or through others, makes this go on without end: the caller sees
// to it that there is none such. Otherwise the memory in use stays in proportion to the longest text that the
// replacements make.
//
// Thread safety: any thread at any time; the environment must not be changed meanwhile.

/// Expands the variables of the process environment. One that is not defined counts as empty.
OSUPT_API string OrvoExpandString(const string& text);

/// Expands the first values of properties, each as it is when its turn comes. Throws OrvoPropertyNotFound
/// when there is no such property.
OSUPT_API string OrvoExpandString(const string& text, OrvoProperties<string>& properties);

/// Reads a value from HKEY_LOCAL_MACHINE of the registry. The path is that of the key, a backslash and the
/// name of the value; the name is empty for the default value. A path without a backslash is both key and
/// name.
///
/// Text (REG_SZ) is returned up to its first NUL, in the ANSI code page. The 32-bit numbers REG_DWORD and
/// REG_DWORD_BIG_ENDIAN are returned in decimal, signed, both read in this machine's byte order. Any other
/// type throws OrvoKeyDataNotSupportedException. Without the key or the value, or with a number of other than
/// four bytes, the answer is the empty string.
///
/// Where the system has no registry, a text file in the format of exported registry files (*.reg) takes its
/// place: the one that the environment variable OSUPT_REGISTRY names, otherwise osupt/registry.reg of the
/// system's folder for settings. It may be UTF-16LE with byte-order mark or UTF-8, or ANSI if it starts with
/// REGEDIT4. It is read again when it has changed. Names are compared without regard to case. What a file
/// deletes counts as not written; a damaged line is skipped with a log record, and a file that cannot be read
/// is an empty registry.
///
/// Thread safety: any thread at any time; the environment must not be changed meanwhile.
OSUPT_API string OrvoGetEnvironmentVariable(const string& path);

}  // namespace OrvoSupport

#endif
