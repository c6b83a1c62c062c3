// The Registry class over the SQLite store: answers, defaults written back,
// enumeration, copies, text conversion and the store files themselves.
#include "support/forwardingstore.h"
#include "support/testsupport.h"
#include "tarnkit/registry.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdlib>
#include <filesystem>
#include <thread>

using namespace TarnkitA201;
using Typed = std::pair<bool, unsigned long>;
using Row = std::pair<long, std::string>;
using Names = std::vector<std::string>;

namespace {

const HKEY kMachine = HKEY_LOCAL_MACHINE;

Registry Key(const std::string &path, HKEY root = kMachine) { return Registry(path.c_str(), "", root); }

// Whether a value reads as text, and the type GetType hands back.
Typed TypeOf(const Registry &r, const char *name) {
    unsigned long type = 99;
    bool text = r.GetType(name, type);
    return {text, type};
}

Names SubKeys(Registry &r) {
    Names names;
    for (Registry::KeyIterator it = r.EnumSubKeys(); it; ++it)
        names.emplace_back(it.GetKey().getString());
    return names;
}

// Each value as name=text, in the order enumerated.
template <class R>
Names Values(R &&r) {
    Names seen;
    for (Registry::ValueIterator it = r.EnumValues(); it; ++it)
        seen.push_back(std::string(it.GetName().getString()) + "=" + it.GetValue().getString());
    return seen;
}

class RegistryTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(mkdtemp(m_dir.data()), nullptr);
        setenv("TARNKIT_REGISTRY_DIR", (m_dir + "/machine").c_str(), 1);
        setenv("XDG_CONFIG_HOME", (m_dir + "/user").c_str(), 1);
    }
    void TearDown() override { std::filesystem::remove_all(m_dir); }

    // Writes a value of any type through the store, as another program might.
    static void Put(const char *key, const char *name, unsigned long type, const std::string &data) {
        IRegistryStore &store = GetRegistryStore();
        HKEY h = nullptr;
        ASSERT_EQ(store.CreateKey(kMachine, key, RegistryAccess::Write, &h, nullptr), 0);
        EXPECT_EQ(store.SetValue(h, name, type, reinterpret_cast<const unsigned char *>(data.data()), data.size()), 0);
        store.CloseKey(h);
    }

    // What the file holds for a value, read with SQLite itself.
    Row Stored(const char *fold) const {
        sqlite3 *db = nullptr;
        sqlite3_open_v2((m_dir + "/machine/registry.db").c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
        sqlite3_stmt *s = nullptr;
        sqlite3_prepare_v2(db, "SELECT type, data FROM vals WHERE fold=?1", -1, &s, nullptr);
        sqlite3_bind_text(s, 1, fold, -1, SQLITE_STATIC);
        Row result{-1, {}};
        if (sqlite3_step(s) == SQLITE_ROW)
            result = {sqlite3_column_int(s, 0),
                      std::string(static_cast<const char *>(sqlite3_column_blob(s, 1)), sqlite3_column_bytes(s, 1))};
        sqlite3_finalize(s);
        sqlite3_close(db);
        return result;
    }

    std::string m_dir = "/tmp/registry_test_XXXXXX";
    TarnkitTest::CapturingSink m_sink;
};

TEST_F(RegistryTest, ValuesKeepTypesAndNamesAreUtf8FoldingOnlyAscii) {
    Registry r("App", "Software\\", kMachine);
    EXPECT_STREQ(r.GetKeyName().getString(), "Software\\App");
    EXPECT_TRUE(r.WriteValue("Text", SAnsiString("hello")));
    EXPECT_TRUE(r.WriteValue("Count", 42ul));
    // A number keeps its low 32 bits.
    EXPECT_TRUE(r.WriteValue("Wide", 0x100000005ul));

    Registry other = Key("SOFTWARE\\app");
    EXPECT_STREQ(other.ReadValue("TEXT").getString(), "hello");
    EXPECT_STREQ(other.ReadValue("count").getString(), "42");
    EXPECT_STREQ(other.ReadValue("wide").getString(), "5");
    EXPECT_TRUE(other.ReadValue("missing").isEmpty());

    // Text keeps its terminator in the file, a number its 4 bytes.
    EXPECT_EQ(Stored("text"), Row(1, std::string("hello", 6)));
    EXPECT_EQ(Stored("count"), Row(4, std::string("\x2a\0\0\0", 4)));

    // The first spelling of a key is the one shown.
    EXPECT_TRUE(Key("Software\\APP\\Sub").WriteValue("x", SAnsiString("1")));
    EXPECT_EQ(SubKeys(r), Names{"Sub"});

    // Only ASCII letters fold: other bytes compare exactly.
    TarnkitTest::ScopedLocale utf8("en_US.UTF-8");
    ASSERT_TRUE(utf8.ok());
    EXPECT_TRUE(Key("Software\\\xC3\x84rger").WriteValue("v", SAnsiString("upper")));
    EXPECT_TRUE(Key("Software\\\xC3\xA4rger").WriteValue("v", SAnsiString("lower")));
    EXPECT_STREQ(Key("software\\\xC3\x84RGER").ReadValue("v").getString(), "upper");
    EXPECT_STREQ(Key("software\\\xC3\xA4RGER").ReadValue("v").getString(), "lower");
    {
        // Text in the locale's encoding is stored as UTF-8 ("Grüße" in ISO-8859-1).
        TarnkitTest::ScopedLocale latin("de_DE");
        if (!latin.ok())
            GTEST_SKIP() << "de_DE is not installed";
        ASSERT_TRUE(Key("Software\\Text").WriteValue("Gr\xFC\xDF" "e", SAnsiString("\xFC")));
        EXPECT_STREQ(Key("Software\\Text").ReadValue("GR\xFC\xDF" "E").getString(), "\xFC");
        EXPECT_EQ(Stored("gr\xC3\xBC\xC3\x9F" "e"), Row(1, std::string("\xC3\xBC", 3)));
    }
    EXPECT_STREQ(Key("Software\\Text").ReadValue("Gr\xC3\xBC\xC3\x9F" "e").getString(), "\xC3\xBC");
}

TEST_F(RegistryTest, ReadsOfAnAbsentStoreCreateNothingAndRemoteNamesStayLocal) {
    Registry r = Key("Software\\Nothing");
    EXPECT_FALSE(r.KeyExists());
    EXPECT_TRUE(r.ReadValue("v").isEmpty());
    EXPECT_FALSE(TypeOf(r, "v").first);
    EXPECT_FALSE(r.EnumSubKeys());
    EXPECT_FALSE(r.EnumValues());
    EXPECT_FALSE(r.DeleteValue("v"));
    EXPECT_TRUE(r.DeleteKey());
    EXPECT_TRUE(r.DeleteKeyRecursive(true));
    EXPECT_TRUE(r.ReadValue("v", SAnsiString()).isEmpty());
    EXPECT_FALSE(std::filesystem::exists(m_dir + "/machine"));

    // The user's store lives under the configuration home; other roots have none.
    EXPECT_TRUE(Key("Software\\Mine", HKEY_CURRENT_USER).WriteValue("v", SAnsiString("u")));
    EXPECT_TRUE(std::filesystem::exists(m_dir + "/user/tarnkit/registry.db"));
    EXPECT_FALSE(std::filesystem::exists(m_dir + "/machine"));
    EXPECT_TRUE(Key("Software\\Mine").ReadValue("v").isEmpty());
    EXPECT_FALSE(Key("Software\\Mine", HKEY_USERS).WriteValue("v", SAnsiString("u")));
    EXPECT_FALSE(Key("Software\\Mine", HKEY_CLASSES_ROOT).KeyExists());
    EXPECT_EQ(RegistryStoreFile(kMachine), m_dir + "/machine/registry.db");

    // A remote machine's name is kept, but the object reads the local store.
    Registry remote = Key("Software\\Remote");
    ASSERT_TRUE(remote.WriteValue("v", SAnsiString("local")));
    remote.SetRemoteMachine("\\\\\\server");
    EXPECT_FALSE(remote.IsRemoteReg());
    EXPECT_STREQ(remote.GetRemoteMachineName().getString(), "server");
    remote.SetRemoteMachine("plain");
    EXPECT_STREQ(remote.GetRemoteMachineName().getString(), "plain");
    EXPECT_STREQ(remote.ReadValue("v").getString(), "local");
    EXPECT_TRUE(remote.DeleteKeyRecursive(true));
}

TEST_F(RegistryTest, DefaultsAreWrittenBack) {
    Registry r = Key("Software\\Defaults");
    EXPECT_STREQ(r.ReadValue("Name", SAnsiString("fallback")).getString(), "fallback");
    EXPECT_STREQ(Key("Software\\Defaults").ReadValue("Name").getString(), "fallback");
    // A stored value wins over the default.
    EXPECT_STREQ(r.ReadValue("Name", SAnsiString("other")).getString(), "fallback");
    // An empty default creates nothing.
    EXPECT_TRUE(r.ReadValue("Empty", SAnsiString()).isEmpty());
    EXPECT_EQ(TypeOf(r, "Empty"), Typed(false, 0));
    // A number default of 0 is written too, as a number.
    EXPECT_STREQ(r.ReadValue("Zero", 0ul).getString(), "0");
    EXPECT_EQ(TypeOf(r, "Zero"), Typed(true, 4));
    // An existing empty value counts as absent and is overwritten.
    EXPECT_TRUE(r.WriteValue("Blank", SAnsiString()));
    EXPECT_EQ(TypeOf(r, "Blank"), Typed(false, 1));
    EXPECT_STREQ(r.ReadValue("Blank", SAnsiString("filled")).getString(), "filled");
    EXPECT_STREQ(r.ReadValue("Blank", 7ul).getString(), "filled");
    EXPECT_FALSE(m_sink.saw("not the same as the default"));
}

TEST_F(RegistryTest, DeletionRulesAndTheKeptHandle) {
    Registry parent = Key("Software\\Tree");
    ASSERT_TRUE(Key("Software\\Tree\\A\\Deep").WriteValue("v", SAnsiString("1")));
    ASSERT_TRUE(Key("Software\\Tree\\B").WriteValue("v", 2ul));
    ASSERT_TRUE(parent.WriteValue("own", SAnsiString("kept")));

    EXPECT_FALSE(parent.DeleteKey());
    EXPECT_TRUE(m_sink.saw("DeleteKey: There is subkey inside key Software\\Tree"));

    Registry b = Key("Software\\Tree\\B");
    EXPECT_TRUE(b.KeyExists());
    HKEY held = nullptr;
    ASSERT_EQ(GetRegistryStore().OpenKey(kMachine, "Software\\Tree\\B", RegistryAccess::Write, &held), 0);
    EXPECT_TRUE(b.DeleteValue("V"));
    EXPECT_FALSE(b.DeleteValue("v"));
    EXPECT_TRUE(Key("Software\\Tree\\B").DeleteKey());
    // The object keeps its handle on the deleted key; a fresh one sees it gone.
    EXPECT_TRUE(b.KeyExists());
    EXPECT_FALSE(Key("Software\\Tree\\B").KeyExists());
    // Writing through a handle on a deleted key fails, and says why.
    EXPECT_FALSE(b.WriteValue("v", 1ul, held));
    EXPECT_TRUE(m_sink.saw("RegSetValueEx(Software\\Tree\\B) failed. Error code: 1018"));
    GetRegistryStore().CloseKey(held);

    EXPECT_TRUE(parent.DeleteKeyRecursive(false));
    EXPECT_TRUE(SubKeys(parent).empty());
    EXPECT_STREQ(Key("Software\\Tree").ReadValue("own").getString(), "kept");
    EXPECT_TRUE(parent.DeleteKeyRecursive(true));
    EXPECT_FALSE(Key("Software\\Tree").KeyExists());
    // The top of the store is never deleted.
    EXPECT_TRUE(Key("Software").WriteValue("v", SAnsiString("1")));
    EXPECT_TRUE(Key("").DeleteKeyRecursive(false));
    EXPECT_FALSE(Key("Software").KeyExists());
    EXPECT_FALSE(Key("").DeleteKey());
}

TEST_F(RegistryTest, EnumerationOrderAndOddValues) {
    for (const char *name : {"beta", "Alpha", "gamma"})
        ASSERT_TRUE(Key(std::string("Software\\Enum\\") + name).WriteValue("v", SAnsiString("1")));
    Registry r = Key("Software\\Enum");
    EXPECT_EQ(SubKeys(r), (Names{"Alpha", "beta", "gamma"}));

    ASSERT_TRUE(r.WriteValue("first", SAnsiString("one")));
    Put("Software\\Enum", "blob", 3, std::string("\x01\x02", 2));
    ASSERT_TRUE(r.WriteValue("third", 3ul));
    Put("Software\\Enum", "huge", 1, std::string(20000, 'h') + '\0');
    ASSERT_TRUE(r.WriteValue("after", SAnsiString("unseen")));
    // Values come in the order written; a binary value repeats the text
    // before it, and one longer than the buffer ends the walk.
    EXPECT_EQ(Values(r), (Names{"first=one", "blob=one", "third=3"}));
    // A direct read takes the long route for a long string.
    EXPECT_EQ(r.ReadValue("huge").getLength(), 20000u);
    EXPECT_EQ(TypeOf(r, "blob"), Typed(false, 3));

    // Moving, consuming and detaching pass the handle on exactly once.
    Registry::KeyIterator keys;
    keys = r.EnumSubKeys();
    ASSERT_TRUE(keys);
    Registry::KeyIterator taker;
    taker.consume(keys);
    EXPECT_FALSE(keys);
    EXPECT_STREQ(taker.GetKey().getString(), "Alpha");
    EXPECT_TRUE(taker.NextKey());
    EXPECT_STREQ(taker.GetKey().getString(), "beta");
    HKEY detached = taker.detach();
    EXPECT_FALSE(taker);
    EXPECT_EQ(GetRegistryStore().CloseKey(detached), 0);
    // A handle is never handed out again: a second close fails cleanly.
    EXPECT_EQ(GetRegistryStore().CloseKey(detached), 6);
    EXPECT_FALSE(m_sink.saw("m_enumKey == NULL"));
    Registry::KeyIterator busy = r.EnumSubKeys();
    Registry::KeyIterator more = r.EnumSubKeys();
    busy.consume(more);
    EXPECT_TRUE(m_sink.saw("m_enumKey == NULL"));
    EXPECT_STREQ(busy.GetKey().getString(), "Alpha");
}

TEST_F(RegistryTest, ExpandedStringsAndCopies) {
    setenv("REGISTRY_TEST_ROOT", "/opt/app", 1);
    unsetenv("REGISTRY_TEST_UNSET");
    Put("Software\\Expand", "path", 2, std::string("%REGISTRY_TEST_ROOT%\\bin;%REGISTRY_TEST_UNSET%;100%") + '\0');
    Put("Software\\Expand", "long", 2, std::string(300, 'x') + '\0');
    Put("Software\\Expand", "edge", 2, std::string(259, 'y') + '\0');
    Put("Software\\Expand", "huge", 2, std::string(17000, 'z') + '\0');
    Registry r = Key("Software\\Expand");
    EXPECT_STREQ(r.ReadValue("path").getString(), "/opt/app\\bin;%REGISTRY_TEST_UNSET%;100%");
    EXPECT_EQ(r.ReadValue("edge").getLength(), 259u);
    EXPECT_FALSE(m_sink.saw("accomodate"));
    EXPECT_TRUE(r.ReadValue("long").isEmpty());
    EXPECT_TRUE(m_sink.saw("Registry::ReadValue: Buffer is not big enough to accomodate expanded string"));
    // Past the first buffer only plain strings are read.
    EXPECT_TRUE(r.ReadValue("huge").isEmpty());

    char small[4];
    EXPECT_EQ(ExpandEnvironmentReferences("%REGISTRY_TEST_ROOT%", small, sizeof small), 9u);
    EXPECT_EQ(ExpandEnvironmentReferences("%%REGISTRY_TEST_ROOT%%", nullptr, 0), 11u);

    // A copy carries the expanded text as a plain string.
    EXPECT_TRUE(Registry::CopyKey(kMachine, "Software\\Copied", kMachine, "Software\\Expand"));
    EXPECT_EQ(TypeOf(Key("Software\\Copied"), "path"), Typed(true, 1));
    setenv("REGISTRY_TEST_ROOT", "/elsewhere", 1);
    EXPECT_STREQ(Key("Software\\Copied").ReadValue("path").getString(), "/opt/app\\bin;%REGISTRY_TEST_UNSET%;100%");

    // Copies keep numbers and flatten the rest.
    ASSERT_TRUE(Key("Software\\Source").WriteValue("n", 12ul));
    ASSERT_TRUE(Key("Software\\Source").WriteValue("s", SAnsiString("text")));
    Put("Software\\Source", "bin", 3, "\x7f");
    ASSERT_TRUE(Key("Software\\Source\\Child\\Grand").WriteValue("deep", SAnsiString("yes")));

    EXPECT_TRUE(Registry::CopyKey(HKEY_CURRENT_USER, "Software\\Target", kMachine, "Software\\Source"));
    Registry target = Key("Software\\Target", HKEY_CURRENT_USER);
    EXPECT_EQ(TypeOf(target, "n"), Typed(true, 4));
    EXPECT_STREQ(target.ReadValue("s").getString(), "text");
    // A binary value arrives as an empty string.
    EXPECT_EQ(TypeOf(target, "bin"), Typed(false, 1));
    EXPECT_STREQ(Key("Software\\Target\\child\\grand", HKEY_CURRENT_USER).ReadValue("deep").getString(), "yes");

    // A copy into its own subtree would never end.
    EXPECT_FALSE(Registry::CopyKey(kMachine, "software\\source\\child", kMachine, "Software\\Source"));
    EXPECT_TRUE(Registry::CopyKey(kMachine, "Software\\SourceTwin", kMachine, "Software\\Source"));

    EXPECT_TRUE(Registry::CopyValue(kMachine, "Software\\One", "renamed", kMachine, "Software\\Source", "n"));
    EXPECT_EQ(TypeOf(Key("Software\\One"), "renamed"), Typed(true, 4));
}

// Passes everything to the real store, but denies access to the one kind of
// operation a test names.
struct RefusingStore : TarnkitTest::ForwardingStore {
    enum { None, Open, Create, Set } refuses = None;
    long OpenKey(HKEY r, const char *p, unsigned long a, HKEY *h) override {
        return refuses == Open ? 5 : real.OpenKey(r, p, a, h);
    }
    long CreateKey(HKEY r, const char *p, unsigned long a, HKEY *h, unsigned long *d) override {
        return refuses == Create ? 5 : real.CreateKey(r, p, a, h, d);
    }
    long SetValue(HKEY k, const char *n, unsigned long t, const unsigned char *d, unsigned long s) override {
        return refuses == Set ? 5 : real.SetValue(k, n, t, d, s);
    }
};

TEST_F(RegistryTest, DeniedAccessAndBadPathsAreReported) {
    RefusingStore refusing;
    SetRegistryStore(&refusing);
    refusing.refuses = refusing.Open;
    Registry r = Key("Software\\Denied");
    EXPECT_FALSE(r.KeyExists());
    EXPECT_TRUE(m_sink.saw("KeyExists failed. Access Denied"));
    EXPECT_FALSE(r.EnumValues());
    EXPECT_TRUE(m_sink.saw("RegOpenKeyEx(Software\\Denied) failed. Error code: 5"));

    // A default the store refuses is not handed back.
    refusing.refuses = refusing.Set;
    EXPECT_TRUE(r.ReadValue("v", SAnsiString("default")).isEmpty());
    EXPECT_TRUE(m_sink.saw("RegSetValueEx(Software\\Denied) failed. Error code: 5"));
    refusing.refuses = refusing.Create;
    m_sink.clear();
    EXPECT_FALSE(r.WriteValue("t", SAnsiString("x")));
    EXPECT_FALSE(m_sink.saw("RegCreateKeyEx"));
    EXPECT_TRUE(r.ReadValue("n", 3ul).isEmpty());
    EXPECT_TRUE(m_sink.saw("RegCreateKeyEx(Software\\Denied) failed. Error code: 5"));
    SetRegistryStore(nullptr);

    // The store can still be used afterwards, and a failed copy leaves nothing.
    ASSERT_TRUE(Key("Software\\Src\\Sub").WriteValue("a", SAnsiString("1")));
    ASSERT_TRUE(Key("Software\\Src").WriteValue("b", SAnsiString("2")));
    struct FailLate : TarnkitTest::ForwardingStore {
        int writes = 0;
        long SetValue(HKEY k, const char *n, unsigned long t, const unsigned char *d, unsigned long s) override {
            return ++writes > 1 ? 1013 : real.SetValue(k, n, t, d, s);
        }
    } failLate;
    SetRegistryStore(&failLate);
    EXPECT_FALSE(Registry::CopyKey(kMachine, "Software\\Dst", kMachine, "Software\\Src"));
    SetRegistryStore(nullptr);
    EXPECT_FALSE(Key("Software\\Dst").KeyExists());

    // Paths with empty names, unknown roots and write-only keys are refused.
    Key("Software\\Trailing\\").KeyExists();
#ifndef NDEBUG
    EXPECT_TRUE(m_sink.saw("Win95 doesn't like opening \\ ending reg keys"));
#endif
    EXPECT_FALSE(Key("Software\\\\Double").WriteValue("v", SAnsiString("x")));
    IRegistryStore &store = GetRegistryStore();
    HKEY key = nullptr;
    EXPECT_EQ(store.CreateKey(kMachine, "a\\\\b", RegistryAccess::Write, &key, nullptr), 161);
    EXPECT_EQ(store.OpenKey(reinterpret_cast<HKEY>(uintptr_t{0x7fffffff}), "a", RegistryAccess::Read, &key), 6);
    ASSERT_EQ(store.CreateKey(kMachine, "w", RegistryAccess::Write, &key, nullptr), 0);
    unsigned long type = 0, size = 0;
    EXPECT_EQ(store.QueryValue(key, "v", &type, nullptr, &size), 5);
    store.CloseKey(key);
}

TEST_F(RegistryTest, ObjectsInSeparateThreadsShareTheStore) {
    ASSERT_TRUE(Key("Software\\Threads").WriteValue("seed", SAnsiString("0")));
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t] {
            Registry mine = Key("Software\\Threads\\T" + std::to_string(t));
            for (unsigned long i = 0; i < 25; ++i) {
                mine.WriteValue(("v" + std::to_string(i)).c_str(), i);
                Key("Software\\Threads").ReadValue("seed");
            }
        });
    threads.clear();
    for (int t = 0; t < 4; ++t)
        EXPECT_EQ(Values(Key("Software\\Threads\\T" + std::to_string(t))).size(), 25u);
}

} // namespace
