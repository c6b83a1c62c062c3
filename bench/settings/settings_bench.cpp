// The settings store beside QSettings with an INI file: 10,000 values
// written at once, read back, and read again through a freshly opened
// object; one durable write at a time (the store commits each write,
// QSettings is synced after each); and single reads through an open key.
// Both keep their files in a directory made under the working directory,
// so that durable writes meet a real disk.
#include "common/ratios.h"

#include <tarnkit/registry.h>
#include <tarnkit/registryexport.h>

#include <benchmark/benchmark.h>

#include <QSettings>
#include <QString>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

using namespace TarnkitA201;

namespace {

constexpr int kValues = 10000;
const char kKey[] = "Software\\Bench\\Settings";

struct Places {
    std::string dir;
    std::string ini;
};

const Places &Dirs() {
    static const Places places = [] {
        char pattern[] = "bench_settings_XXXXXX";
        if (mkdtemp(pattern) == nullptr) {
            std::perror("mkdtemp");
            std::exit(1);
        }
        Places p{std::filesystem::absolute(pattern).string(), {}};
        p.ini = p.dir + "/settings.ini";
        setenv("TARNKIT_REGISTRY_DIR", p.dir.c_str(), 1);
        return p;
    }();
    return places;
}

std::string Name(int i) { return "value" + std::to_string(i); }
std::string Data(int i) { return "/var/lib/suite/data/" + std::to_string(i * 7919); }

void ClearTarnkit() {
    RegistryTransferError error;
    DeleteKeyTree(HKEY_LOCAL_MACHINE, "Software\\Bench", true, error);
}

void ClearQt() { std::filesystem::remove(Dirs().ini); }

// The 10,000 values as one file: the store writes them in one transaction,
// as QSettings writes its whole file once.
SAnsiString BulkText() {
    std::string text = "Tarnkit Registry Export 1\n[HKEY_LOCAL_MACHINE\\" + std::string(kKey) + "]\n";
    for (int i = 0; i < kValues; ++i)
        text += "\"" + Name(i) + "\"=\"" + Data(i) + "\"\n";
    return SAnsiString(text.c_str());
}

void WriteAllTarnkit() {
    static const SAnsiString text = BulkText();
    RegistryTransferError error;
    if (ImportText(text, error) != RegistryTransferResult::Ok) {
        std::fprintf(stderr, "import failed: %s\n", error.message.getString());
        std::exit(1);
    }
}

void WriteAllQt() {
    QSettings settings(QString::fromStdString(Dirs().ini), QSettings::IniFormat);
    settings.beginGroup("Bench");
    for (int i = 0; i < kValues; ++i)
        settings.setValue(QString::fromStdString(Name(i)), QString::fromStdString(Data(i)));
    settings.endGroup();
    settings.sync();
}

const std::vector<SAnsiString> &TarnkitNames() {
    static const std::vector<SAnsiString> names = [] {
        std::vector<SAnsiString> all;
        for (int i = 0; i < kValues; ++i)
            all.emplace_back(Name(i).c_str());
        return all;
    }();
    return names;
}

const std::vector<QString> &QtNames() {
    static const std::vector<QString> names = [] {
        std::vector<QString> all;
        for (int i = 0; i < kValues; ++i)
            all.push_back("Bench/" + QString::fromStdString(Name(i)));
        return all;
    }();
    return names;
}

size_t ReadAllTarnkit(Registry &key) {
    size_t bytes = 0;
    for (const SAnsiString &name : TarnkitNames())
        bytes += key.ReadValue(name).getLength();
    return bytes;
}

size_t ReadAllQt(QSettings &settings) {
    size_t bytes = 0;
    for (const QString &name : QtNames())
        bytes += static_cast<size_t>(settings.value(name).toString().size());
    return bytes;
}

void CheckRead(benchmark::State &state, size_t bytes) {
    if (bytes == 0)
        state.SkipWithError("nothing was read back");
}

// --- 10,000 values written, read back on the same object, read on a new one.

void WriteThenRead_Tarnkit(benchmark::State &state) {
    for (auto _ : state) {
        state.PauseTiming();
        ClearTarnkit();
        state.ResumeTiming();
        WriteAllTarnkit();
        Registry key(kKey, "", HKEY_LOCAL_MACHINE);
        CheckRead(state, ReadAllTarnkit(key));
        Registry reopened(kKey, "", HKEY_LOCAL_MACHINE);
        CheckRead(state, ReadAllTarnkit(reopened));
    }
    state.SetItemsProcessed(state.iterations() * kValues);
}

void WriteThenRead_Qt(benchmark::State &state) {
    for (auto _ : state) {
        state.PauseTiming();
        ClearQt();
        state.ResumeTiming();
        QSettings settings(QString::fromStdString(Dirs().ini), QSettings::IniFormat);
        for (int i = 0; i < kValues; ++i)
            settings.setValue(QtNames()[static_cast<size_t>(i)], QString::fromStdString(Data(i)));
        settings.sync();
        CheckRead(state, ReadAllQt(settings));
        QSettings reopened(QString::fromStdString(Dirs().ini), QSettings::IniFormat);
        CheckRead(state, ReadAllQt(reopened));
    }
    state.SetItemsProcessed(state.iterations() * kValues);
}

// --- The parts on their own, so a ratio shows where the time goes.

void Write10000_Tarnkit(benchmark::State &state) {
    for (auto _ : state) {
        state.PauseTiming();
        ClearTarnkit();
        state.ResumeTiming();
        WriteAllTarnkit();
    }
    state.SetItemsProcessed(state.iterations() * kValues);
}

void Write10000_Qt(benchmark::State &state) {
    for (auto _ : state) {
        state.PauseTiming();
        ClearQt();
        state.ResumeTiming();
        WriteAllQt();
    }
    state.SetItemsProcessed(state.iterations() * kValues);
}

void Reopen10000_Tarnkit(benchmark::State &state) {
    ClearTarnkit();
    WriteAllTarnkit();
    for (auto _ : state) {
        Registry key(kKey, "", HKEY_LOCAL_MACHINE);
        CheckRead(state, ReadAllTarnkit(key));
    }
    state.SetItemsProcessed(state.iterations() * kValues);
}

void Reopen10000_Qt(benchmark::State &state) {
    ClearQt();
    WriteAllQt();
    for (auto _ : state) {
        QSettings settings(QString::fromStdString(Dirs().ini), QSettings::IniFormat);
        CheckRead(state, ReadAllQt(settings));
    }
    state.SetItemsProcessed(state.iterations() * kValues);
}

// --- One durable write at a time.

void DurableWrite_Tarnkit(benchmark::State &state) {
    ClearTarnkit();
    Registry key(kKey, "", HKEY_LOCAL_MACHINE);
    int i = 0;
    for (auto _ : state)
        if (!key.WriteValue(TarnkitNames()[static_cast<size_t>(i++ % kValues)], SAnsiString("durable")))
            state.SkipWithError("write failed");
    state.SetItemsProcessed(state.iterations());
}

void DurableWrite_Qt(benchmark::State &state) {
    ClearQt();
    QSettings settings(QString::fromStdString(Dirs().ini), QSettings::IniFormat);
    int i = 0;
    for (auto _ : state) {
        settings.setValue(QtNames()[static_cast<size_t>(i++ % kValues)], QStringLiteral("durable"));
        settings.sync();
    }
    state.SetItemsProcessed(state.iterations());
}

// --- Single reads through an open key, over the 10,000 values.

void OpenKeyRead_Tarnkit(benchmark::State &state) {
    ClearTarnkit();
    WriteAllTarnkit();
    Registry key(kKey, "", HKEY_LOCAL_MACHINE);
    key.KeyExists();
    size_t i = 0, bytes = 0;
    for (auto _ : state)
        bytes += key.ReadValue(TarnkitNames()[i++ % kValues]).getLength();
    CheckRead(state, bytes);
    state.SetItemsProcessed(state.iterations());
}

void OpenKeyRead_Qt(benchmark::State &state) {
    ClearQt();
    WriteAllQt();
    QSettings settings(QString::fromStdString(Dirs().ini), QSettings::IniFormat);
    size_t i = 0, bytes = 0;
    for (auto _ : state)
        bytes += static_cast<size_t>(settings.value(QtNames()[i++ % kValues]).toString().size());
    CheckRead(state, bytes);
    state.SetItemsProcessed(state.iterations());
}

} // namespace

BENCHMARK(WriteThenRead_Tarnkit)->Name("write, read, reopen and read 10000/tarnkit")->Unit(benchmark::kMillisecond);
BENCHMARK(WriteThenRead_Qt)->Name("write, read, reopen and read 10000/QSettings")->Unit(benchmark::kMillisecond);
BENCHMARK(Write10000_Tarnkit)->Name("write 10000/tarnkit")->Unit(benchmark::kMillisecond);
BENCHMARK(Write10000_Qt)->Name("write 10000/QSettings")->Unit(benchmark::kMillisecond);
BENCHMARK(Reopen10000_Tarnkit)->Name("reopen and read 10000/tarnkit")->Unit(benchmark::kMillisecond);
BENCHMARK(Reopen10000_Qt)->Name("reopen and read 10000/QSettings")->Unit(benchmark::kMillisecond);
BENCHMARK(DurableWrite_Tarnkit)->Name("durable write/tarnkit")->Unit(benchmark::kMicrosecond);
BENCHMARK(DurableWrite_Qt)->Name("durable write/QSettings")->Unit(benchmark::kMicrosecond);
BENCHMARK(OpenKeyRead_Tarnkit)->Name("read through an open key/tarnkit");
BENCHMARK(OpenKeyRead_Qt)->Name("read through an open key/QSettings");

int main(int argc, char **argv) {
    Dirs();
    int status = TarnkitBench::RunAndPrintRatios(argc, argv);
    std::filesystem::remove_all(Dirs().dir);
    return status;
}
