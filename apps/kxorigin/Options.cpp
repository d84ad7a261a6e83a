// SPDX-License-Identifier: MIT
#include "Options.h"

#include <CLI/CLI.hpp>

namespace KxOrigin {

namespace {

constexpr const char* kDescription =
    "Publishes one picture of the world as map tiles, in every convention that KxTile reads.\n"
    "There are tiles in the Web Mercator grid, on WGS 84, GCJ-02 and BD-09, in the Baidu plane "
    "and\n"
    "in the geographic grid; a graticule to measure with; and earth imagery with its history.\n"
    "It prints 'kxorigin listening on http://ADDRESS:PORT' once it answers requests;\n"
    "SIGTERM and SIGINT stop it. Its own page / lists the addresses.";

constexpr const char* kExample = "Example:\n"
                                 "  kxorigin --port 8080 --log requests.jsonl &\n"
                                 "  curl -o world.png http://127.0.0.1:8080/xyz/marble/0/0/0.png\n"
                                 "  curl -o beijing.png "
                                 "'http://127.0.0.1:8080/baidu/graticule.png?x=197&y=73&z=10'\n"
                                 "  curl -o root.bin 'http://127.0.0.1:8080/earth/flatfile?q2-0'";

} // namespace

Options ReadOptions(int argc, const char* const* argv)
{
    Options options;
    CLI::App app(kDescription, "kxorigin");
    app.footer(kExample);
    app.set_version_flag("--version", "kxorigin " KXORIGIN_VERSION);
    app.add_option("--port", options.port, "Port to listen on, 0 for one that the system chooses")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    app.add_option("--bind", options.bind, "IPv4 address to listen on")
        ->check(CLI::ValidIPV4)
        ->capture_default_str();
    app.add_option("--log",
                   options.log,
                   "File to append each request to as a line of JSON, - for the standard output; "
                   "without it the lines go to the standard error");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        options.exitCode = app.exit(error) == 0 ? 0 : 2;
    }
    return options;
}

} // namespace KxOrigin
