#pragma once

// A certificate on each line, for commands that treat very many.

#include "tools/reading/input.h"

namespace velmora::tool {

/// The options of such commands. The last three go with "--lines" alone.
inline constexpr OptionSpec kLinesOption = {
    "--lines", "",
    "each line of a FILE is a certificate in base64, or a key, a tab and the certificate; the key "
    "comes out again"};
inline constexpr OptionSpec kJobsOption = {"--jobs", "N",
                                           "with --lines: by N threads, 1 to 256 (default 1)"};
inline constexpr OptionSpec kProgressOption = {
    "--progress", "", "with --lines: tell of the progress also where nobody looks on"};
inline constexpr OptionSpec kQuietOption = {
    "--quiet", "", "with --lines: tell neither the progress nor what cannot be read"};

/// What to say of them in the details of a command.
inline constexpr std::string_view kAboutLines =
    "With --lines memory stays the same however many lines there are, and answers\n"
    "come in their order. A line that holds no certificate has an object with source,\n"
    "index, error and key in its place, and makes the exit status 3; empty lines have\n"
    "nothing. Ctrl-C ends the run with what is done, and exit status 130.\n";

/// How many threads are asked for. Throws UsageError where these options make no sense.
size_t jobsOf(const Arguments& arguments);

/// Visits the files of a command as visitFiles does, or with "--lines" each line of them. `make` is
/// then called once for each thread, and what it gave is called by that thread alone. With "--json"
/// an answer has its key by writeLineKey; in front of every other line the key is put here, and a
/// tab. Throws UsageError.
void visitFilesOrLines(const Arguments& arguments, Console& console, const MakeVisit& make,
                       Takes takes = Takes::kCertificates);

}  // namespace velmora::tool
