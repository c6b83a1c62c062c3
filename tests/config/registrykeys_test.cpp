// The key family of the product's settings: where each class keeps its key,
// how a server instance falls back to its server and copies settings down,
// and the records kept by the configuration manager and the web connector.
#include "config/registrystore.h"
#include "support/testsupport.h"
#include "tarnkit/registrykeys/registrykeys.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

using namespace TarnkitA201;
using Names = std::vector<std::string>;
using Types = std::vector<unsigned long>;

namespace {

const std::string kCompany = "Software\\Ostrand Group\\10.5";

std::string Text(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }

std::string Name(const Registry &r) { return r.GetKeyName().getString(); }

Registry Machine(const std::string &path) { return Registry(path.c_str(), "", HKEY_LOCAL_MACHINE); }

// The key's name once each part is appended in turn.
template <class R>
std::string Appended(R r, std::initializer_list<const char *> parts) {
    for (const char *part : parts)
        r.appendKey(part);
    return Name(r);
}

// Each value read through the object in turn, as a read may copy it down.
template <class R>
Names Reads(R &&r, std::initializer_list<const char *> names) {
    Names texts;
    for (const char *name : names)
        texts.push_back(Text(r.ReadValue(name)));
    return texts;
}

// The stored type of each value, 0 when absent.
Types TypesAt(const std::string &key, std::initializer_list<const char *> names) {
    Types types;
    for (const char *name : names)
        Machine(key).GetType(name, types.emplace_back(0));
    return types;
}

void Put(const std::string &key, const char *name, unsigned long type, const std::string &data) {
    IRegistryStore &store = GetRegistryStore();
    HKEY h = nullptr;
    ASSERT_EQ(store.CreateKey(HKEY_LOCAL_MACHINE, key.c_str(), RegistryAccess::Write, &h, nullptr), 0);
    EXPECT_EQ(store.SetValue(h, name, type, reinterpret_cast<const unsigned char *>(data.data()), data.size()), 0);
    store.CloseKey(h);
}

Names Keys(Registry::KeyIterator it) {
    Names names;
    for (; it; ++it)
        names.emplace_back(it.GetKey().getString());
    return names;
}

Names Values(Registry::ValueIterator it) {
    Names pairs;
    for (; it; ++it)
        pairs.push_back(std::string(it.GetName().getString()) + "=" + it.GetValue().getString());
    return pairs;
}

class RegistryKeysTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(mkdtemp(m_dir.data()), nullptr);
        setenv("TARNKIT_REGISTRY_DIR", (m_dir + "/machine").c_str(), 1);
        setenv("XDG_CONFIG_HOME", (m_dir + "/user").c_str(), 1);
    }
    void TearDown() override { std::filesystem::remove_all(m_dir); }

    std::string m_dir = "/tmp/registrykeys_test_XXXXXX";
    TarnkitTest::CapturingSink m_sink;
};

TEST_F(RegistryKeysTest, EachClassNamesItsKey) {
    // Every key and setting name as callers look it up, misspellings included;
    // appendKey always adds a separator, and a server's key grows alike.
    const std::pair<std::string, std::string> names[] = {
        {Name(CompanyRegistry()), kCompany},
        {Name(CompanyRegistry("Sub")), kCompany + "\\Sub"},
        {Name(LoggingRegistry("")), kCompany + "\\Logging"},
        {Name(LoggingRegistry("Plug")), kCompany + "\\Logging\\Plug"},
        {Name(TransportRegistry("Net")), kCompany + "\\Transport\\Net"},
        {Name(SharedToolsRegistry("tool.so")), kCompany + "\\Shared Tools\\tool.so"},
        {Name(WebConnectorRegistry()), kCompany + "\\Web Connector"},
        {Name(ConfigMgrRegistry("Servers")), kCompany + "\\Config Manager\\Servers"},
        {Name(AmbryRegistry()), kCompany + "\\Ambry"},
        {Name(OptionsRegistry()), kCompany + "\\Ambry\\Options"},
        {Name(OptionsRegistry("Debug")), kCompany + "\\Ambry\\Options\\Debug"},
        {Name(InfoHelpRegistry()), kCompany + "\\Ambry\\Help"},
        {Name(ODBCRegistry()), "Software\\ODBC"},
        {Name(UserCompanyRegistry()), "Software\\Halcyon Decisions"},
        {Name(UserCompanyRegistry("Tools")), "Software\\Halcyon Decisions\\Tools"},
        {Name(ServerRegistry("Srv", "")), kCompany + "\\Srv"},
        {Name(ServerRegistry("Srv", "One")), kCompany + "\\Srv\\Instances\\One"},
        {Name(KVSRegistry()), kCompany + "\\LNS"},
        {Name(KVSRegistry("Blue")), kCompany + "\\LNS\\Instances\\Blue"},
        {KVSRegistry("Blue").GetInstanceKey().getString(), "Blue"},
        {Appended(CompanyRegistry("A"), {"B"}), kCompany + "\\A\\B"},
        {Appended(ODBCRegistry(), {"ODBC.INI"}), "Software\\ODBC\\ODBC.INI"},
        {Appended(ServerRegistry("Srv", "One"), {"Cache", "Disk"}), kCompany + "\\Srv\\Instances\\One\\Cache\\Disk"},
        {KVSRegistry::KVSRegistryKey, "LNS"},
        {KVSRegistry::REG_MAXIMUMCLUSTERMEMBERTIMEDISCREPENCYINMINUTES, "MaximumClusterMemberTimeDiscrepencyInMinutes"},
        {KVSRegistry::REG_THREADTIMEOUTMINUTES, "ThreadTimeoutAfterNMinutes"},
        {KVSRegistry::REG_TIMEOUT_VALUE, "ConnectionTimeout"},
        {KVSRegistry::REG_KEY_KVSSOCKSSERVERS, "LNSSocksServers"},
    };
    for (const auto &[actual, expected] : names)
        EXPECT_EQ(actual, expected);

    // Roots: the company keys are the machine's, the user key the user's.
    EXPECT_EQ(companyRegistryHandle, HKEY_LOCAL_MACHINE);
    EXPECT_TRUE(LoggingRegistry().WriteValue("loggingPath", SAnsiString("/var/log/suite")));
    EXPECT_STREQ(Machine(kCompany + "\\Logging").ReadValue("loggingPath").getString(), "/var/log/suite");
    EXPECT_STREQ(UserCompanyRegistry("Tools").ReadValue("Editor", SAnsiString("vi")).getString(), "vi");
    EXPECT_EQ(Text(Registry("Software\\Halcyon Decisions\\Tools", "", HKEY_CURRENT_USER).ReadValue("Editor")), "vi");
    EXPECT_FALSE(Machine("Software\\Halcyon Decisions\\Tools").KeyExists());
    EXPECT_STREQ(ODBCRegistry().ReadValue("Drivers", 3ul).getString(), "3");
    EXPECT_EQ(TypesAt("Software\\ODBC", {"Drivers"}), Types{4});
    EXPECT_FALSE(m_sink.saw("Win95"));
}

TEST_F(RegistryKeysTest, InstanceFallsBackToServerAndCopiesDown) {
    const std::string serverKey = kCompany + "\\LNS";
    const std::string instanceKey = serverKey + "\\Instances\\Blue";
    Registry server = Machine(serverKey);
    ASSERT_TRUE(server.WriteValue("ThreadPoolSize", 16ul));
    ASSERT_TRUE(server.WriteValue("UploadPath", SAnsiString("/srv/upload")));
    ASSERT_TRUE(server.WriteValue("AuthenticationRealm", SAnsiString("server")));
    ASSERT_TRUE(Machine(instanceKey).WriteValue("AuthenticationRealm", SAnsiString("instance")));
    setenv("REGKEYS_TEST_HOME", "/home/blue", 1);
    Put(serverKey, "Expanded", 2, std::string("%REGKEYS_TEST_HOME%/x") + '\0');
    Put(serverKey, "Blob", 3, "\x01\x02");

    // The instance's own value wins; a server value is answered and copied
    // down with its type; an expandable string is answered expanded but stays
    // with the server; what neither key has reads empty and creates nothing.
    KVSRegistry blue("Blue");
    EXPECT_EQ(Reads(blue, {KVSRegistry::REG_AUTH_REALM, KVSRegistry::REG_THREADPOOL_SIZE, KVSRegistry::REG_UPLOAD_PATH,
                           "Expanded", "Blob", "Nowhere"}),
              (Names{"instance", "16", "/srv/upload", "/home/blue/x", "", ""}));
    EXPECT_EQ(TypesAt(instanceKey, {"ThreadPoolSize", "UploadPath", "Expanded", "Blob"}), (Types{4, 1, 0, 0}));
    // From then on the instance has its own copy.
    ASSERT_TRUE(server.WriteValue("UploadPath", SAnsiString("/changed")));
    EXPECT_STREQ(KVSRegistry("Blue").ReadValue("UploadPath").getString(), "/srv/upload");

    // Defaults go to the instance only when the server has nothing either.
    ASSERT_TRUE(server.WriteValue("AuditInterval", 60ul));
    EXPECT_STREQ(blue.ReadValue("InstallPath", SAnsiString("/opt/x")).getString(), "/opt/x");
    EXPECT_STREQ(blue.ReadValue("AuditInterval", 5ul).getString(), "60");
    EXPECT_STREQ(blue.ReadValue("AuditBatchSize", 0ul).getString(), "0");
    EXPECT_TRUE(blue.ReadValue("NoDefault", SAnsiString()).isEmpty());
    EXPECT_EQ(TypesAt(instanceKey, {"InstallPath", "AuditBatchSize"}), (Types{1, 4}));
    EXPECT_EQ(TypesAt(serverKey, {"InstallPath"}), Types{0});

    // Keys appended below the instance fall back to the same keys below the
    // server, not to the server's own key.
    ASSERT_TRUE(Machine(serverKey + "\\MIME").WriteValue("txt", SAnsiString("text/plain")));
    KVSRegistry mime("Green");
    mime.appendKey(KVSRegistry::REG_KEY_MIME);
    EXPECT_EQ(Reads(mime, {"txt", "ThreadPoolSize"}), (Names{"text/plain", ""}));
    EXPECT_EQ(TypesAt(serverKey + "\\Instances\\Green\\MIME", {"txt"}), Types{1});

    // Without an instance the server's key is its own: no copy, no fallback.
    EXPECT_EQ(Reads(KVSRegistry(), {"ThreadPoolSize", "Nowhere"}), (Names{"16", ""}));
    EXPECT_FALSE(m_sink.saw("not the same as the default"));
}

TEST_F(RegistryKeysTest, EnumerationsFillTheInstanceFromTheServer) {
    const std::string serverKey = kCompany + "\\Srv";
    const std::string instanceKey = serverKey + "\\Instances\\One";
    ASSERT_TRUE(Machine(serverKey + "\\Alpha\\Deep").WriteValue("d", 4ul));
    ASSERT_TRUE(Machine(serverKey + "\\Zeta").WriteValue("z", SAnsiString("server")));
    ASSERT_TRUE(Machine(serverKey).WriteValue("Shared", SAnsiString("s")));
    ASSERT_TRUE(Machine(serverKey).WriteValue("Own", SAnsiString("server")));
    ASSERT_TRUE(Machine(instanceKey + "\\Zeta").WriteValue("z", SAnsiString("instance")));
    ASSERT_TRUE(Machine(instanceKey).WriteValue("own", SAnsiString("instance")));
    ASSERT_TRUE(Machine(serverKey + "\\Instances\\Two").WriteValue("v", SAnsiString("2")));

    ServerRegistry one("Srv", "One");
    // The server's "Instances" key is not copied into an instance; an
    // existing sub-key or value is left as it is.
    EXPECT_EQ(Keys(one.EnumSubKeys()), (Names{"Alpha", "Zeta"}));
    EXPECT_STREQ(Machine(instanceKey + "\\Alpha\\Deep").ReadValue("d").getString(), "4");
    EXPECT_EQ(TypesAt(instanceKey + "\\Alpha\\Deep", {"d"}), Types{4});
    EXPECT_STREQ(Machine(instanceKey + "\\Zeta").ReadValue("z").getString(), "instance");
    EXPECT_EQ(Values(one.EnumValues()), (Names{"own=instance", "Shared=s"}));
    EXPECT_STREQ(Machine(instanceKey).ReadValue("Own").getString(), "instance");

    // The instances from the first one on, whichever object asks.
    EXPECT_EQ(Keys(one.EnumInstances()), (Names{"One", "Two"}));
    EXPECT_EQ(Keys(ServerRegistry("Srv", "").EnumInstances()), (Names{"One", "Two"}));
    EXPECT_FALSE(ServerRegistry("Nobody", "").EnumInstances());

    // An instance that does not exist yet is made by enumerating it.
    ServerRegistry fresh("Srv", "Three");
    EXPECT_EQ(Keys(fresh.EnumSubKeys()), (Names{"Alpha", "Zeta"}));
    EXPECT_EQ(Values(fresh.EnumValues()), (Names{"Shared=s", "Own=server"}));

    // A server key enumerates as it is.
    EXPECT_EQ(Keys(ServerRegistry("Srv", "").EnumSubKeys()), (Names{"Alpha", "Instances", "Zeta"}));
}

TEST_F(RegistryKeysTest, ConfigManagerReadsServersAndNamesWhatIsMissing) {
    const std::string base = kCompany + "\\Config Manager";
    for (const std::string name : {"Alpha", "Beta", "Gamma"}) {
        Registry key = Machine(base + "\\" + name);
        ASSERT_TRUE(key.WriteValue("ServiceName", SAnsiString((name + "Svc").c_str())));
        ASSERT_TRUE(key.WriteValue("Path", SAnsiString(("/opt/" + name).c_str())));
        ASSERT_TRUE(key.WriteValue("Dependency", SAnsiString()));
        ASSERT_TRUE(key.WriteValue("CommandLine", SAnsiString("-fg")));
    }
    ASSERT_TRUE(Machine(base + "\\Alpha").WriteValue("IsDependsOnEbus", SAnsiString("TRUE")));
    ASSERT_TRUE(Machine(base + "\\Beta").WriteValue("IsDependsOnEbus", SAnsiString("no")));
    ASSERT_TRUE(Machine(base + "\\Gamma").WriteValue("IsDependsOnEbus", 0ul));

    SIArray<ConfigMgrRegistry::ServerType> servers;
    EXPECT_TRUE(ConfigMgrRegistry().Get(servers));
    ASSERT_EQ(servers.GetSize(), 3u);
    EXPECT_STREQ(servers[0].serverKey.getString(), "Alpha");
    EXPECT_STREQ(servers[0].serviceName.getString(), "AlphaSvc");
    EXPECT_STREQ(servers[0].path.getString(), "/opt/Alpha");
    EXPECT_TRUE(servers[0].dependency.isEmpty());
    EXPECT_STREQ(servers[0].commandLine.getString(), "-fg");
    EXPECT_TRUE(servers[0].dependsOnEbus);
    EXPECT_FALSE(servers[1].dependsOnEbus);
    EXPECT_FALSE(servers[2].dependsOnEbus);

    ConfigMgrRegistry::ServerType one;
    EXPECT_TRUE(ConfigMgrRegistry("Beta").Get(one));
    EXPECT_TRUE(one == servers[1]);

    // Each missing piece has its own text; the record is left untouched.
    const ConfigMgrRegistry::ServerType untouched = one;
    EXPECT_FALSE(ConfigMgrRegistry("Absent").Get(one));
    EXPECT_TRUE(m_sink.saw("SocksServerRegistry::Get Invalid value for server key"));
    ASSERT_TRUE(Machine(base + "\\Beta").DeleteValue("Dependency"));
    EXPECT_FALSE(ConfigMgrRegistry("Beta").Get(one));
    EXPECT_TRUE(m_sink.saw("SocksServerRegistry::Get Invalid value for dependency"));
    EXPECT_TRUE(one == untouched);
    ASSERT_TRUE(Machine(base + "\\Alpha").WriteValue("IsDependsOnEbus", SAnsiString("maybe")));
    EXPECT_FALSE(ConfigMgrRegistry("Alpha").Get(one));
    EXPECT_TRUE(m_sink.saw("SocksServerRegistry::Get Invalid value for depend on ebus"));
    Put(base + "\\Gamma", "Path", 3, "\x01");
    EXPECT_FALSE(ConfigMgrRegistry("Gamma").Get(one));
    EXPECT_TRUE(m_sink.saw("SocksServerRegistry::Get Invalid value for path"));

    // A list stops at the first bad server and keeps those before it.
    servers.RemoveAll();
    ASSERT_TRUE(Machine(base + "\\Alpha").WriteValue("IsDependsOnEbus", 1ul));
    EXPECT_FALSE(ConfigMgrRegistry().Get(servers));
    ASSERT_EQ(servers.GetSize(), 1u);
    EXPECT_TRUE(servers[0].dependsOnEbus);
}

TEST_F(RegistryKeysTest, WebConnectorHostsRoundTripInOrder) {
    WebConnectorRegistry web("Site");
    SIArray<WebConnectorRegistry::GHSHost> hosts;
    EXPECT_TRUE(web.GetGHSHosts(hosts));
    EXPECT_EQ(hosts.GetSize(), 0u);

    // Twelve hosts: "10" and "11" must come after "9", not after "1".
    SIArray<WebConnectorRegistry::GHSHost> written;
    for (int i = 0; i < 12; ++i)
        written.Add({SAnsiString(("host" + std::to_string(i)).c_str()),
                     SAnsiString(("http://h" + std::to_string(i) + "/").c_str())});
    written.Add({SAnsiString("host3"), SAnsiString("http://again/")});
    ASSERT_TRUE(web.SetGHSHosts(written));
    EXPECT_STREQ(Machine(kCompany + "\\Web Connector\\Site\\GHSHosts\\0").ReadValue("GHSHost").getString(), "host0");
    EXPECT_TRUE(web.GetGHSHosts(hosts));
    EXPECT_TRUE(std::equal(hosts.begin(), hosts.end(), written.begin(), written.end()));

    // By name, the later of two hosts with one name wins.
    WebConnectorRegistry::GHSHostMap byName;
    EXPECT_TRUE(web.GetGHSHosts(byName));
    EXPECT_EQ(byName.GetCount(), 12u);
    WebConnectorRegistry::GHSHost found;
    ASSERT_TRUE(byName.Lookup("host3", found));
    EXPECT_STREQ(found.url.getString(), "http://again/");

    // A shorter list replaces the longer one entirely; a host without a name
    // is refused before anything changes.
    SIArray<WebConnectorRegistry::GHSHost> shorter;
    shorter.Add({SAnsiString("only"), SAnsiString()});
    ASSERT_TRUE(web.SetGHSHosts(shorter));
    hosts.RemoveAll();
    EXPECT_TRUE(web.GetGHSHosts(hosts));
    EXPECT_TRUE(std::equal(hosts.begin(), hosts.end(), shorter.begin(), shorter.end()));
    shorter.Add({SAnsiString(), SAnsiString("http://nameless/")});
    EXPECT_FALSE(web.SetGHSHosts(shorter));
    hosts.RemoveAll();
    EXPECT_TRUE(web.GetGHSHosts(hosts));
    EXPECT_EQ(hosts.GetSize(), 1u);

    // A stored host whose name cannot be read ends the list.
    ASSERT_TRUE(Machine(kCompany + "\\Web Connector\\Site\\GHSHosts\\1").WriteValue("URL", SAnsiString("x")));
    ASSERT_TRUE(Machine(kCompany + "\\Web Connector\\Site\\GHSHosts\\2").WriteValue("GHSHost", SAnsiString("y")));
    hosts.RemoveAll();
    EXPECT_FALSE(web.GetGHSHosts(hosts));
    EXPECT_EQ(hosts.GetSize(), 1u);
    EXPECT_TRUE(m_sink.saw("WebConnectorRegistry::Get Invalid value for host name"));
}

} // namespace
