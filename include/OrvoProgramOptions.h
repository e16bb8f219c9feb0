// A program's command line, taken apart into options and plain arguments.
#ifndef ORVO_PROGRAM_OPTIONS_H
#define ORVO_PROGRAM_OPTIONS_H

#include <vector>

#include "OrvoExport.h"
#include "OrvoProperties.h"
#include "OrvoString.h"

namespace OrvoSupport {

/// The program name, the options and the plain arguments of a command line, with a cursor over the latter.
/// What starts with "-" (or "/" where slashes are allowed) is an option, everything else a plain argument.
///
/// Thread safety: any number of threads may read an object while none moves its cursor or assigns to it.
class OSUPT_API OrvoProgramOptions {
public:
    using const_iterator = std::vector<string>::const_iterator;

    /// Lenient: takes any option. "-x", "-name=value" and "--name=value" give x, name and name. Their text is
    /// read as a line of a property file: blanks in front of the value go, and what starts with "#" is lost.
    /// An `argc` below 1 or a null `argv` makes an empty object; a null in `argv` ends it.
    OrvoProgramOptions(int argc, char** argv, bool allowSlash);
    /// Strict: takes only what the specifications declare. With one dash a long name comes before a letter.
    /// - `shortSpec` is a string of letters; a ":" behind one says that it takes data: "ab:" declares -a, -b.
    ///   Data is the rest of the argument or the next one: "-b5", "-b 5". There is no bundling: "-ax" is -a.
    /// - `longSpec` holds each name between colons, with a "." in front of the closing one if it takes data:
    ///   ":all:size.:". "-size 10" gives size its data; "-all", "--all" and "--all=2" are all. Two dashes and
    ///   a name that takes data record nothing, and use up no argument.
    /// Throws OrvoException with code 0 for what is not declared or lacks its data; the text tells which.
    OrvoProgramOptions(int argc, char** argv, const string& shortSpec, const string& longSpec,
                       bool allowSlash);
    /// The same for a command line in one piece, which is split at blanks and tabs; its first word is the
    /// program name. Single or double quotes keep a stretch together, anywhere in a word, and are dropped;
    /// nothing escapes. A quote without an end runs to the end of the line, and a pair around nothing is an
    /// empty word. A word ends at its first NUL.
    OrvoProgramOptions(const string& commandLine, bool allowSlash);
    OrvoProgramOptions(const string& commandLine, const string& shortSpec, const string& longSpec,
                       bool allowSlash);
    /// The cursor of a copy, and of the target of an assignment, stands at the first argument.
    OrvoProgramOptions(const OrvoProgramOptions& other);
    OrvoProgramOptions& operator=(const OrvoProgramOptions& other);
    ~OrvoProgramOptions();

    /// The first word as it is, with its folder if it has one.
    const string& getProgramName() const;

    /// The first value the option was given, empty if it came without data. Throws an OrvoException without
    /// text if the option was not given: a caller asks for a flag by catching.
    string getSwitch(const string& name) const;
    /// The same for an option with two names. If both were given, the value of `otherName` counts.
    string getSwitch(const string& name, const string& otherName) const;

    unsigned getArgumentCount() const;
    /// Plain arguments in the order of the command line. An index or a position that is none of an argument
    /// throws OrvoException; a position must be one of this object's.
    const string& getArgument(unsigned index) const;
    const string& getArgument(const const_iterator& position) const;
    const_iterator begin() const;
    const_iterator end() const;

    /// The argument under the cursor. Behind the last one this throws OrvoException.
    const string& getArgument() const;
    const string& operator*() const;
    const const_iterator& getIterator() const;
    /// Move the cursor by one place and return it. It never leaves the arguments: behind the last one it goes
    /// no further forward, and from the first one no further back.
    const_iterator& operator++();
    const_iterator& operator--();
    /// Puts the cursor back to the first argument and returns it.
    const_iterator& reset();

private:
    void parse(int argc, char** argv, const string& shortSpec, const string& longSpec, bool strict,
               bool allowSlash);
    void parse(const string& commandLine, const string& shortSpec, const string& longSpec, bool strict,
               bool allowSlash);

    string m_programName;
    OrvoProperties<string> m_options;
    std::vector<string> m_arguments;
    const_iterator m_current;
};

}  // namespace OrvoSupport

#endif
