#include "programMain.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <sstream>
#include <thread>

#include "board/attackTables.h"

namespace tarvonel
{

std::string programDirectory;

int programMain(int argc, char **argv, const char *purpose, const std::function<void(CLI::App &)> &declareOptions,
                const std::function<int()> &work)
{
    const std::filesystem::path program = argv[0];
    if (program.has_parent_path())
        programDirectory = std::filesystem::absolute(program).parent_path();
    const std::string name = program.filename();
    CLI::App app(purpose, name);
    app.option_defaults()->always_capture_default();
    declareOptions(app);
    try
    {
        app.parse(argc, argv);
        initTables();
        return work();
    }
    catch (const CLI::CallForHelp &help)
    {
        return app.exit(help);
    }
    catch (const CLI::Error &error)
    {
        std::fprintf(stderr, "%s: %s (--help lists the options)\n", name.c_str(), error.what());
        return 2;
    }
    catch (const std::exception &error)
    {
        std::fprintf(stderr, "%s: %s\n", name.c_str(), error.what());
        return 1;
    }
}

CLI::Validator numberFrom(double low, double high)
{
    const auto complaint = [low, high](const std::string &text)
    {
        double value = 0;
        std::ostringstream message;
        const bool isInRange = CLI::detail::lexical_cast(text, value) && value >= low && value <= high; // not for NaN
        if (!isInRange)
            message << "needs a number from " << low << " to " << high << ", got: " << text;
        return message.str();
    };
    return {complaint, ""};
}

int coreCount() { return static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, 256U)); }

} // namespace tarvonel
