// The text form of the settings store: exact round trips, the notation an
// administrator reads, refusal of malformed text without any change, and
// all-or-nothing imports.
#include "support/forwardingstore.h"
#include "support/testsupport.h"
#include "tarnkit/registryexport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

using namespace TarnkitA201;
using Result = RegistryTransferResult;
// Key, value name, type and bytes.
using StoredValue = std::tuple<const char *, std::string, unsigned long, std::string>;

namespace {

const HKEY kMachine = HKEY_LOCAL_MACHINE, kUser = HKEY_CURRENT_USER;
const std::string kHeader = "Tarnkit Registry Export 1\n";

std::string Str(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }
// An empty buffer hands out a null pointer and no bytes: an empty string.
std::string Str(const SSimpleBuffer &b) {
    return std::string(reinterpret_cast<const char *>(static_cast<const unsigned char *>(b)), b.getNBytes());
}
SSimpleBuffer Buf(const std::string &bytes) {
    SSimpleBuffer b;
    b.append(reinterpret_cast<const unsigned char *>(bytes.data()), bytes.size());
    return b;
}

class RegistryExportTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(mkdtemp(m_dir.data()), nullptr);
        setenv("TARNKIT_REGISTRY_DIR", (m_dir + "/machine").c_str(), 1);
        setenv("XDG_CONFIG_HOME", (m_dir + "/user").c_str(), 1);
    }
    void TearDown() override { std::filesystem::remove_all(m_dir); }

    void Put(const StoredValue &v, HKEY root = kMachine) {
        const auto &[key, name, type, bytes] = v;
        ASSERT_EQ(WriteRawValue(root, key, name.c_str(), type, Buf(bytes), error), Result::Ok) << Str(error.message);
    }
    std::string Export(HKEY root = kMachine, const char *key = "") {
        SAnsiString text;
        return ExportKey(root, key, text, error) == Result::Ok ? Str(text) : "export failed: " + Str(error.message);
    }
    // Each import starts from a clean error.
    Result Import(const std::string &text) {
        error = RegistryTransferError();
        return ImportText(SAnsiString(text.data(), text.size()), error);
    }

    std::string m_dir = "/tmp/registryexport_test_XXXXXX";
    RegistryTransferError error;
    TarnkitTest::CapturingSink m_sink;
};

TEST_F(RegistryExportTest, TheNotationAnAdministratorReads) {
    const char *key = "Software\\Ostrand Group\\10.5\\Logging";
    Put({key, "MaxLogFileSize", 4, std::string("\x00\x00\x10\x00", 4)});
    Put({key, "loggingPath", 1, std::string("/var/log/suite\0", 15)});
    Put({key, "Expanded", 2, std::string("%HOME%/x\0", 9)});
    Put({key, "Blob", 3, std::string("\x01\xff\x00", 3)});
    Put({key, "Multi", 7, std::string("a\0b\0\0", 5)});
    Put({key, "", 1, std::string("tab\there \"q\" back\\slash") + '\0'});
    EXPECT_EQ(Export(kMachine, "Software\\Ostrand Group\\10.5"),
              kHeader + "\n[HKEY_LOCAL_MACHINE\\Software\\Ostrand Group\\10.5]\n"
                        "\n[HKEY_LOCAL_MACHINE\\Software\\Ostrand Group\\10.5\\Logging]\n"
                        "\"MaxLogFileSize\"=dword:00100000\n"
                        "\"loggingPath\"=\"/var/log/suite\"\n"
                        "\"Expanded\"=expand:\"%HOME%/x\"\n"
                        "\"Blob\"=hex:01,ff,00\n"
                        "\"Multi\"=multi:\"a\",\"b\"\n"
                        "@=\"tab\\there \\\"q\\\" back\\\\slash\"\n");

    // Long lists wrap with a continuation; the one-value form matches.
    std::string line = Str(FormatRegistryValue("b", 3, Buf(std::string(40, '\xab'))));
    EXPECT_NE(line.find(",\\\n  ab,"), std::string::npos);
    for (size_t start = 0, end; start < line.size(); start = end + 1) {
        end = std::min(line.find('\n', start), line.size());
        EXPECT_LE(end - start, 76u);
    }
    EXPECT_EQ(Str(FormatRegistryKey(kUser, "A\\ b\\c\"")), "[HKEY_CURRENT_USER\\A\\\" b\"\\\"c\\\"\"]");
}

TEST_F(RegistryExportTest, EveryValueAndNameSurvivesARoundTrip) {
    TarnkitTest::ScopedLocale utf8("en_US.UTF-8");
    ASSERT_TRUE(utf8.ok());
    const std::vector<StoredValue> values = {
        // Values are added out of alphabetical order: their order must hold.
        {"Odd", "zeta", 1, std::string("text\0", 5)},
        {"Odd", "alpha", 1, std::string("no terminator")},
        {"Odd", "inner", 1, std::string("a\0b\0", 4)},
        {"Odd", "empty text", 1, std::string("\0", 1)},
        {"Odd", "no bytes", 1, std::string()},
        {"Odd", "short dword", 4, std::string("\x01\x02", 2)},
        {"Odd", "multi empty", 7, std::string("\0", 1)},
        {"Odd", "multi empty item", 7, std::string("\0\0", 2)},
        {"Odd", "multi gap", 7, std::string("a\0\0b\0\0", 6)},
        {"Odd", "multi bare", 7, std::string("a\0b", 3)},
        {"Odd", "none", 0, std::string("\x7f", 1)},
        {"Odd", "wide type", 0x12345678abcdul, std::string("x")},
        {"Odd", "long", 3, std::string(300, '\x5a')},
        {"Odd", "controls \x01\x1f\x7f", 1, std::string("\r\n\t\x01\xc3\xa4\0", 7)},
        {"Odd", "back\\slash \"quote\" = @ ;", 2, std::string("%PATH%\0", 7)},
        {"Odd", "\xc3\xa4rger \xe2\x82\xac", 1, std::string("\xe2\x82\xac\0", 4)},
        {"Odd\\ lead & trail ", "v", 1, std::string("1\0", 2)},
        {"Odd\\new\nline\\tab\t", "v", 1, std::string("2\0", 2)},
        {"Odd\\quote\"d\\bracket]", "v", 1, std::string("3\0", 2)},
        {"Odd\\@\\-\\;comment", "v", 1, std::string("4\0", 2)},
        {"Odd\\\xc3\x9f\\\x01", "v", 1, std::string("5\0", 2)},
    };
    for (const StoredValue &v : values)
        Put(v);
    Put({"Empty\\Key", "v", 4, std::string(4, '\0')});
    ASSERT_EQ(DeleteRawValue(kMachine, "Empty\\Key", "v", error), Result::Ok);
    Put({"User", "u", 3, std::string("\x00", 1)}, kUser);

    const std::string machine = Export(), user = Export(kUser);
    for (const auto &[root, key] : {std::pair{kMachine, "Odd"}, {kMachine, "Empty"}, {kUser, "User"}})
        ASSERT_EQ(DeleteKeyTree(root, key, true, error), Result::Ok) << key << ": " << Str(error.message);
    ASSERT_EQ(Export(), kHeader + "\n[HKEY_LOCAL_MACHINE]\n");

    // One file may carry both roots.
    ASSERT_EQ(Import(machine + user.substr(kHeader.size())), Result::Ok) << Str(error.message);
    EXPECT_EQ(Export(), machine);
    EXPECT_EQ(Export(kUser), user);
    for (const auto &[key, name, type, bytes] : values) {
        unsigned long readType = 0;
        SSimpleBuffer readBytes;
        ASSERT_EQ(ReadRawValue(kMachine, key, name.c_str(), readType, readBytes, error), Result::Ok) << name;
        EXPECT_EQ(readType, type) << name;
        EXPECT_EQ(Str(readBytes), bytes) << name;
    }
    std::vector<SAnsiString> names;
    ASSERT_EQ(ListSubKeys(kMachine, "Empty", names, error), Result::Ok);
    ASSERT_EQ(names.size(), 1u);
    EXPECT_EQ(Str(names[0]), "Key");
}

TEST_F(RegistryExportTest, HandWrittenFilesAreForgivenWhereHarmless) {
    const std::string text = "\xef\xbb\xbf; written by hand\r\n"
                             "\n"
                             "  Tarnkit Registry Export 1  \r\n"
                             "# keys may use the short root names\n"
                             "[hklm\\App]\r\n"
                             "  \"Text\" = \"x\"   \n"
                             "\"Number\"=DWORD:2A\n"
                             "\"List\"=multi:\"a\",  \\\n"
                             "      \"b\"\n"
                             "\"Bytes\"=hex: 01 , 02,\\\n"
                             "  03\n"
                             "\"\"=hex(4):05,00,00,00\n"
                             "[HKCU\\App]\n"
                             "\"Other\"=expand:\"%X%\"\n";
    ASSERT_EQ(Import(text), Result::Ok) << Str(error.message);
    EXPECT_EQ(Export(kMachine, "App"), kHeader + "\n[HKEY_LOCAL_MACHINE\\App]\n"
                                                 "\"Text\"=\"x\"\n"
                                                 "\"Number\"=dword:0000002a\n"
                                                 "\"List\"=multi:\"a\",\"b\"\n"
                                                 "\"Bytes\"=hex:01,02,03\n"
                                                 "@=dword:00000005\n");
    EXPECT_EQ(Export(kUser, "App"), kHeader + "\n[HKEY_CURRENT_USER\\App]\n\"Other\"=expand:\"%X%\"\n");

    // Deletions: a value, a whole tree, and things already absent.
    ASSERT_EQ(Import(kHeader + "[HKLM\\App\\Sub\\Deeper]\n\"v\"=\"1\"\n"), Result::Ok);
    ASSERT_EQ(Import(kHeader + "[HKLM\\App]\n\"Text\"=-\n\"never\"=-\n[-HKLM\\App\\Sub]\n[-HKLM\\Absent]\n"),
              Result::Ok);
    EXPECT_EQ(Export(kMachine, "App").find("Text"), std::string::npos);
    EXPECT_EQ(Export(kMachine, "App").find("Sub"), std::string::npos);

    // Files: a missing one is "not found"; every byte of a real one is read.
    EXPECT_EQ(ImportFile(SAnsiString((m_dir + "/none.reg").c_str()), error), Result::NotFound);
    const SAnsiString file((m_dir + "/app.reg").c_str());
    ASSERT_EQ(ExportKeyToFile(kMachine, "App", file, error), Result::Ok);
    ASSERT_EQ(DeleteKeyTree(kMachine, "App", true, error), Result::Ok);
    std::ofstream(file.getString(), std::ios::app).write("\"nul\"=\"a\0b\"\n", 12);
    ASSERT_EQ(ImportFile(file, error), Result::Ok) << Str(error.message);
    EXPECT_NE(Export(kMachine, "App").find("\"nul\"=\"a\\x00b\""), std::string::npos);
}

TEST_F(RegistryExportTest, FailedImportsNameTheLineAndChangeNothing) {
    Put({"Keep", "v", 1, std::string("old\0", 4)});
    const std::string before = Export();
    const std::string good = kHeader + "[HKLM\\Keep]\n\"v\"=\"new\"\n[HKLM\\New]\n\"w\"=\"1\"\n";  // lines 1-5
    // The text, the line at fault and a part of what the message says.
    const std::vector<std::tuple<std::string, unsigned long, const char *>> cases = {
        {"", 1, "the file is empty"},
        {"[HKLM\\Keep]\n", 1, "must start with the line \"Tarnkit Registry Export 1\""},
        {"Tarnkit Registry Export 2\n", 1, "version 2 is not known"},
        {kHeader + "\"v\"=\"1\"\n", 2, "a value line before any key"},
        {good + "[HKEY_USERS\\x]\n", 6, "unknown root \"HKEY_USERS\""},
        {good + "[HKLM\\a\\\\b]\n", 6, "empty name"},
        {good + "[HKLM\\a\n", 6, "must end with ']'"},
        {good + "[HKLM\\\"a\\\\b\"]\n", 6, "cannot contain a backslash"},
        {good + "[HKLM\\\"a\\x00\"]\n", 6, "cannot contain a NUL"},
        {good + "[-HKLM]\n", 6, "a root cannot be deleted"},
        {good + "[-HKLM\\New]\n\"x\"=\"1\"\n", 7, "under a key being deleted"},
        {good + "\"x\" \"1\"\n", 6, "expected '='"},
        {good + "\"x\"=\n", 6, "expected a value after '='"},
        {good + "\"x=\"1\"\n", 6, "expected '='"},
        {good + "\"x\"=\"1\n", 6, "no closing '\"'"},
        {good + "\"x\"=\"\\q\"\n", 6, "unknown escape \\q"},
        {good + "\"x\"=\"\\x4\"\n", 6, "two hex digits"},
        {good + "\"\\x00\"=\"1\"\n", 6, "cannot contain a NUL"},
        {good + "\"x\"=\"1\" extra\n", 6, "unexpected text after the value"},
        {good + "\"x\"=dword:123456789\n", 6, "at most 8 hex digits"},
        {good + "\"x\"=dword:\n", 6, "expected hex digits"},
        {good + "\"x\"=hex:1,2\n", 6, "two hex digits"},
        {good + "\"x\"=hex:01,\n", 6, "two hex digits"},
        {good + "\"x\"=hex:01,\\\n", 6, "past the end of the file"},
        {good + "\"x\"=hex:01,\\\n\n", 7, "two hex digits"},
        {good + "\"x\"=hex(1:01\n", 6, "')'"},
        {good + "\"x\"=hex(12345678901234567):01\n", 6, "at most 16 hex digits"},
        {good + "\"x\"=multi:a\n", 6, "quoted string"},
        {good + "\"x\"=word:1\n", 6, "unknown value kind \"word\""},
        {good + "\"x\"=1\n", 6, "a quoted string or one of"},
        {good + "garbage\n", 6, "expected a key in brackets"},
    };
    for (const auto &[text, line, says] : cases) {
        EXPECT_EQ(Import(text), Result::Invalid) << text;
        EXPECT_EQ(error.line, line) << text;
        EXPECT_NE(Str(error.message).find(says), std::string::npos) << text << " -> " << Str(error.message);
        EXPECT_EQ(Str(error.message).rfind("line " + std::to_string(line) + ": ", 0), 0u) << Str(error.message);
        EXPECT_EQ(Export(), before) << text;
    }
    EXPECT_FALSE(std::filesystem::exists(m_dir + "/user"));

    // A store failure half-way undoes the whole import, in both stores.
    Put({"Keep\\Child", "c", 1, std::string("kid\0", 4)});
    Put({"Mine", "u", 1, std::string("user\0", 5)}, kUser);
    const std::string machine = Export(), user = Export(kUser);

    // Refuses to write one value name, as a full disk or a lost permission
    // would half-way through a file.
    struct FailingStore : TarnkitTest::ForwardingStore {
        long SetValue(HKEY k, const char *n, unsigned long t, const unsigned char *d, unsigned long s) override {
            return std::string(n) == "refused" ? 112 : real.SetValue(k, n, t, d, s);
        }
    } failing;
    IRegistryStore *previous = SetRegistryStore(&failing);
    Result result = Import(kHeader + "[HKCU\\Mine]\n\"u\"=\"changed\"\n"
                                     "[HKLM\\Keep]\n\"v\"=\"new\"\n\"gone\"=-\n[-HKLM\\Keep\\Child]\n"
                                     "[HKLM\\Brand\\New]\n\"ok\"=dword:1\n\"refused\"=\"x\"\n\"after\"=\"y\"\n");
    SetRegistryStore(previous);
    EXPECT_EQ(result, Result::StoreFailure);
    EXPECT_EQ(error.line, 10u);
    EXPECT_EQ(Str(error.message), "line 10: cannot write the value \"refused\": the disk is full");
    EXPECT_EQ(Export(), machine);
    EXPECT_EQ(Export(kUser), user);

    // Once the store takes everything, all of it lands.
    ASSERT_EQ(Import(kHeader + "[HKLM\\Keep]\n\"v\"=\"new\"\n[-HKLM\\Keep\\Child]\n"), Result::Ok);
    EXPECT_EQ(Export(kMachine, "Keep"), kHeader + "\n[HKEY_LOCAL_MACHINE\\Keep]\n\"v\"=\"new\"\n");
}

TEST_F(RegistryExportTest, ValueAndKeyOperationsAnswerPrecisely) {
    unsigned long type = 0;
    SSimpleBuffer bytes;
    SAnsiString text;
    std::vector<SAnsiString> names;
    EXPECT_EQ(ReadRawValue(kMachine, "None", "v", type, bytes, error), Result::NotFound);
    EXPECT_EQ(Str(error.message), "cannot open HKEY_LOCAL_MACHINE\\None: not found");
    EXPECT_EQ(ExportKey(kMachine, "None", text, error), Result::NotFound);
    EXPECT_EQ(ExportKey(HKEY_USERS, "", text, error), Result::Invalid);
    EXPECT_EQ(ListSubKeys(kMachine, "None", names, error), Result::NotFound);
    EXPECT_EQ(DeleteKeyTree(kMachine, "None", true, error), Result::NotFound);

    Put({"Tree\\A\\B", "v", 1, std::string("1\0", 2)});
    EXPECT_EQ(ReadRawValue(kMachine, "\\tree\\a\\b\\", "V", type, bytes, error), Result::Ok);
    EXPECT_EQ(ReadRawValue(kMachine, "Tree\\A\\B", "w", type, bytes, error), Result::NotFound);
    EXPECT_EQ(ReadRawValue(kMachine, "Tree\\\\B", "v", type, bytes, error), Result::Invalid);
    EXPECT_EQ(DeleteRawValue(kMachine, "Tree\\A\\B", "w", error), Result::NotFound);
    EXPECT_EQ(DeleteKeyTree(kMachine, "", true, error), Result::Invalid);
    EXPECT_EQ(DeleteKeyTree(kMachine, "Tree", false, error), Result::Invalid);
    EXPECT_NE(Str(error.message).find("it has subkeys"), std::string::npos);
    EXPECT_EQ(DeleteKeyTree(kMachine, "Tree\\A\\B", false, error), Result::Ok);
    EXPECT_EQ(DeleteKeyTree(kMachine, "Tree", true, error), Result::Ok);
    EXPECT_EQ(Export(), kHeader + "\n[HKEY_LOCAL_MACHINE]\n");

    // A non-recursive export is the key and its values alone.
    Put({"Top\\Sub", "s", 1, std::string("1\0", 2)});
    Put({"Top", "t", 1, std::string("2\0", 2)});
    ASSERT_EQ(ExportKey(kMachine, "Top", text, error, false), Result::Ok);
    EXPECT_EQ(Str(text), kHeader + "\n[HKEY_LOCAL_MACHINE\\Top]\n\"t\"=\"2\"\n");

    HKEY root = nullptr;
    EXPECT_TRUE(ParseRegistryRoot("hkcu", root));
    EXPECT_EQ(root, kUser);
    EXPECT_TRUE(ParseRegistryRoot("HKEY_LOCAL_MACHINE", root));
    EXPECT_EQ(root, kMachine);
    EXPECT_FALSE(ParseRegistryRoot("HKEY_USERS", root));
}

} // namespace
