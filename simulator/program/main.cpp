// The host program: loads the module, runs a scenario around it, and prints what happens.
#include "simulator/host/HostControl.h"
#include "simulator/host/tips/TipsControl.h"
#include "simulator/keys/VolumeKeys.h"
#include "simulator/program/ComputerAudio.h"
#include "simulator/program/ExitStatus.h"
#include "simulator/program/HostSide.h"
#include "simulator/program/Options.h"
#include "simulator/program/OtherProgram.h"
#include "simulator/program/PluginModule.h"
#include "simulator/program/RunFiles.h"
#include "simulator/program/ScenarioRunner.h"
#include "simulator/program/ServiceProcess.h"
#include "simulator/program/ThreadNames.h"
#include "simulator/program/TimelinePrinter.h"
#include "simulator/program/TipCard.h"
#include "simulator/program/WaitRecorder.h"
#include "simulator/program/Watchdog.h"
#include "simulator/program/World.h"
#include "simulator/program/scenario/Scenario.h"
#include "simulator/program/scenario/ScenarioError.h"
#include "simulator/program/scenario/Statement.h"
#include "simulator/program/scenario/StatementParser.h"
#include "simulator/timeline/Timeline.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

namespace
{

using sim::ExitStatus;

std::filesystem::path BesideThisProgram(const wchar_t* name)
{
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    return std::filesystem::path(program).parent_path() / name;
}

std::filesystem::path ServiceProgram(const sim::Options& options)
{
    return options.service.empty() ? BesideThisProgram(L"connectivity-service.exe")
                                   : std::filesystem::path(options.service);
}

std::optional<std::string> ReadFileText(const std::string& name)
{
    std::ifstream file(name, std::ios::binary);
    if (!file)
    {
        return std::nullopt;
    }
    return std::string(std::istreambuf_iterator<char>(file), {});
}

/// The scenario of the file; nothing, having said why, when it cannot be run.
std::optional<sim::scenario::Scenario> LoadScenario(const std::string& name)
{
    const std::optional<std::string> text = ReadFileText(name);
    if (!text)
    {
        std::fprintf(stderr, "%s: the file cannot be read\n", name.c_str());
        return std::nullopt;
    }
    sim::scenario::Scenario scenario = sim::scenario::ParseScenario(*text);
    for (const sim::scenario::Complaint& complaint : scenario.complaints)
    {
        std::fprintf(stderr, "%s:%zu: %s\n", name.c_str(), complaint.line, complaint.message.c_str());
    }
    return scenario.complaints.empty() ? std::optional(std::move(scenario)) : std::nullopt;
}

/// Runs the lines of the input as they come. Mistakes and failures are told, and it goes on.
void RunInput(sim::ScenarioRunner& runner)
{
    sim::scenario::StatementParser parser;
    std::string text;
    for (std::size_t number = 1; std::getline(std::cin, text) && sim::scenario::Trimmed(text) != "quit"; ++number)
    {
        try
        {
            if (std::optional<sim::scenario::Statement> statement = parser.ParseLine(text))
            {
                runner.RunLine({number, std::string(sim::scenario::Trimmed(text)), std::move(*statement)});
            }
        }
        catch (const sim::scenario::ScenarioError& error)
        {
            std::printf("%s\n", error.what());
            std::fflush(stdout);
        }
    }
}

ExitStatus Report(const sim::ScenarioRunner& runner, bool held)
{
    std::printf("%s: %zu expectations held%s\n", held ? "PASSED" : "FAILED", runner.Held(),
                held ? "" : ", then one did not; see the line FAILED above");
    std::fflush(stdout);
    return held ? ExitStatus::Held : ExitStatus::Failed;
}

/// Never destroyed: threads of it, or keys that the module presses, may come until the process ends.
sim::ComputerAudio& MakeAudio(const sim::Options& options, HMODULE module)
{
    if (options.systemAudio)
    {
        return *sim::MakeSystemAudio().release();
    }
    static const auto* const keys = new sim::VolumeKeys(module);
    static_cast<void>(keys);
    return *sim::MakeSimulatedAudio().release();
}

/// Never unloaded, as in the host: the module's threads may outlive its plug-in.
const sim::PluginModule& LoadModule()
{
    static const auto* const module = new sim::PluginModule(BesideThisProgram(L"HeadsetAdapterPlugin.dll"));
    static const auto* const waits = new sim::WaitRecorder(module->Handle());
    static_cast<void>(waits);
    return *module;
}

void TellCard(const sim::TipDescription& tip)
{
    sim::EntryFacts facts{.kind = "card",
                          .values = {{"tip", std::to_string(tip.number)},
                                     {"icon", sim::ToUtf8(tip.icon)},
                                     {"title", sim::ToUtf8(tip.title)},
                                     {"content", sim::ToUtf8(tip.content)},
                                     {"first button", sim::ToUtf8(tip.firstButton)},
                                     {"second button", sim::ToUtf8(tip.secondButton)}}};
    for (const std::string& line : sim::TipCard(tip))
    {
        sim::Timeline::Instance().Add("card", line, std::exchange(facts, {.kind = "card line"}));
    }
}

bool IsColoured(const sim::Options& options)
{
    return options.coloured || (!options.plain && _isatty(_fileno(stdout)) != 0);
}

ExitStatus Play(const sim::Options& options, const sim::scenario::Scenario& scenario)
{
    sim::Watchdog watchdog(options.interactive ? std::chrono::seconds(0) : options.limit);
    static sim::ThreadNames names; // the timeline's listener uses it to the end of the process
    static sim::TimelinePrinter printer(names, !IsColoured(options), options.hidden);
    static sim::RunFiles files(options, names);
    names.NameThisThread("host");
    sim::Timeline::Instance().SetListener(
        [](const sim::TimelineEntry& entry)
        {
            printer.Print(entry);
            files.Note(entry);
        });

    sim::ServiceProcess service(ServiceProgram(options), sim::HostControl::Instance().IpcBus());
    const sim::PluginModule& module = LoadModule();
    sim::ComputerAudio& audio = MakeAudio(options, module.Handle());
    sim::World world(service, audio);
    sim::HostSide host(module);
    sim::TipsControl::SetShownHook(&TellCard);
    sim::ScenarioRunner runner(options.interactive ? "input" : options.scenario, host, world, service, audio, names,
                               watchdog);
    if (options.interactive)
    {
        RunInput(runner);
    }
    const bool held = options.interactive ? runner.Leave() : runner.Run(scenario);
    sim::Timeline::Instance().SetListener({}); // threads may still be at work; the result is the last line
    files.Write(held, runner.Held());
    if (options.interactive)
    {
        return held ? ExitStatus::Held : ExitStatus::Failed;
    }
    return Report(runner, held);
}

ExitStatus Start(const sim::Options& options)
{
    sim::scenario::Scenario scenario;
    if (!options.interactive)
    {
        std::optional<sim::scenario::Scenario> loaded = LoadScenario(options.scenario);
        if (!loaded)
        {
            return ExitStatus::Malformed;
        }
        scenario = std::move(*loaded);
    }
    try
    {
        return Play(options, scenario);
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "simulator: %s\n", error.what());
        return ExitStatus::Failed;
    }
}

} // namespace

int main(int count, char** words)
{
    // Lines end in a line feed alone, for readers on every system.
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    const std::optional<sim::Options> options = sim::ParseOptions({words + 1, words + count});
    if (!options)
    {
        std::fputs(sim::usage, stderr);
        return static_cast<int>(ExitStatus::Malformed);
    }
    if (options->systemAudio && sim::HasSimulatedAudio())
    {
        return sim::RunProgram(BesideThisProgram(L"simulator-system-audio.exe"));
    }
    return static_cast<int>(Start(*options));
}
