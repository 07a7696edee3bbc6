// Finding ports in a made-up system, and the folder through which virtual ports are announced: a placeholder
// or a dead link offered as a port is as bad as a device that does not show up.

#include "serial/posix/port_sources.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>

#include "base/text.h"
#include "serial/posix/user_ports.h"
#include "tests/support/folder.h"

namespace hvt::test {
namespace {

namespace fs = std::filesystem;

// A machine's device folders. Character devices are played by links to /dev/null.
class FakeMachine {
 public:
  FakeMachine() {
    folders_.sysfs = scratch_.path() / "class";
    folders_.dev = scratch_.path() / "dev";
    folders_.user_ports = scratch_.path() / "ports";
    for (const fs::path& path : {folders_.sysfs, folders_.dev, *folders_.user_ports})
      fs::create_directories(path);
  }

  const PortFolders& folders() const { return folders_; }
  void node(const std::string& name) { fs::create_symlink("/dev/null", folders_.dev / name); }
  // An entry of the terminal class, with hardware at a path below the device tree, or without any.
  void terminal(const std::string& name, const std::string& device = {}) {
    fs::create_directories(folders_.sysfs / name);
    if (device.empty()) return;
    fs::create_directories(tree(device));
    fs::create_directory_symlink(tree(device), folders_.sysfs / name / "device");
  }
  void attribute(const fs::path& file, const std::string& text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text << '\n';
  }
  fs::path tree(const std::string& device) const { return scratch_.path() / "devices" / device; }

  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const FoundPort& port : find_ports(folders_))
      names.push_back(utf16_to_utf8(port.name));
    return names;
  }
  std::string text_of(const std::wstring& name) const {
    for (const FoundPort& port : find_ports(folders_))
      if (port.name == name) return utf16_to_utf8(port.device_text);
    return "not listed";
  }

 private:
  Folder scratch_;
  PortFolders folders_;
};

using Names = std::vector<std::string>;

TEST(PortSources, ListsWhatHasHardwareBehindItInOrder) {
  FakeMachine machine;
  for (const char* name : {"ttyUSB10", "ttyUSB2", "ttyACM0"}) {
    machine.terminal(name, std::string("usb/") + name);
    machine.node(name);
  }
  machine.terminal("ttyUSB3", "usb/gone");  // unplugged a moment ago: no node any more
  machine.terminal("tty1");                 // a screen
  machine.node("tty1");
  machine.node("ttyX");  // a node that the kernel's list does not know
  for (const auto& [name, type] :
       {std::pair("ttyS0", "4"), std::pair("ttyS1", "0"), std::pair("ttyS4", "4")}) {
    machine.terminal(name, "pnp");
    machine.attribute(machine.folders().sysfs / name / "type", type);
    machine.node(name);
  }
  machine.attribute(machine.folders().sysfs / "console" / "active", "tty0 ttyS0");
  machine.terminal("rfcomm0");
  machine.node("rfcomm0");
  machine.node("ttyV1");
  EXPECT_EQ(machine.names(), (Names{"rfcomm0", "ttyACM0", "ttyS4", "ttyUSB2", "ttyUSB10", "ttyV1"}));
}

TEST(PortSources, NothingToReadMeansNoPorts) {
  PortFolders folders{"/nonexistent/class", "/nonexistent/dev", "/nonexistent/ports"};
  EXPECT_TRUE(find_ports(folders).empty());
  folders.user_ports.reset();
  EXPECT_TRUE(find_ports(folders).empty());
}

TEST(PortSources, TheDeviceTextNamesMakerProductAndInterfaceOnce) {
  struct Case {
    const char* manufacturer;
    const char* product;
    const char* interface_text;
    const char* text;
  };
  const Case cases[] = {
      {"FTDI", "FT232R USB UART", "FT232R USB UART", "FTDI FT232R USB UART"},
      {"Silicon Labs", "CP2105 Dual UART", "Enhanced Com Port",
       "Silicon Labs CP2105 Dual UART, Enhanced Com Port"},
      {"Arduino (www.arduino.cc)", "Arduino Uno", nullptr, "Arduino Uno"},
      {"SEGGER", "Segger J-Link", "CDC Data", "Segger J-Link, CDC Data"},
      {nullptr, "USB Serial", nullptr, "USB Serial"},
      {"Maker", nullptr, nullptr, "Maker"},
      {nullptr, nullptr, "Only interface", "Only interface"},
      {nullptr, nullptr, nullptr, ""},
      {"M\xC3\xBCller", "Ger\xC3\xA4t\xFF", nullptr, "M\xC3\xBCller Ger\xC3\xA4t\xEF\xBF\xBD"},
  };
  for (const Case& c : cases) {
    FakeMachine machine;
    machine.terminal("ttyUSB0", "pci/usb1/1-1/1-1:1.0/ttyUSB0");
    machine.node("ttyUSB0");
    const fs::path usb = machine.tree("pci/usb1/1-1");
    machine.attribute(usb / "idVendor", "0403");
    machine.attribute(machine.tree("pci/usb1") / "idVendor", "1d6b");  // the hub must not be taken for it
    machine.attribute(machine.tree("pci/usb1") / "product", "xHCI Host Controller");
    if (c.manufacturer != nullptr) machine.attribute(usb / "manufacturer", c.manufacturer);
    if (c.product != nullptr) machine.attribute(usb / "product", c.product);
    if (c.interface_text != nullptr) machine.attribute(usb / "1-1:1.0" / "interface", c.interface_text);
    EXPECT_EQ(machine.text_of(L"ttyUSB0"), c.text);
  }
  FakeMachine machine;
  machine.terminal("ttyS4", "pnp0/00:01");
  machine.node("ttyS4");
  machine.node("ttyV0");
  machine.terminal("rfcomm3");
  machine.node("rfcomm3");
  EXPECT_EQ(machine.text_of(L"ttyS4"), "");
  EXPECT_EQ(machine.text_of(L"ttyV0"), "Virtual device");
  EXPECT_EQ(describe_device(L"rfcomm3", utf8_to_utf16(machine.text_of(L"rfcomm3"))), L"Bluetooth Serial");
}

TEST(PortSources, ANameIsOpenedWhereItWasFound) {
  FakeMachine machine;
  machine.node("ttyUSB0");
  machine.node("ttyV0");
  fs::create_symlink("/dev/null", *machine.folders().user_ports / "ttyV0");
  fs::create_symlink("/dev/null", *machine.folders().user_ports / "ttyV1");
  const auto path = [&](const wchar_t* name) { return port_path(name, machine.folders()); };
  EXPECT_EQ(path(L"ttyUSB0"), machine.folders().dev / "ttyUSB0");
  EXPECT_EQ(path(L"ttyV0"), machine.folders().dev / "ttyV0") << "nothing announced may hide a device node";
  EXPECT_EQ(path(L"ttyV1"), *machine.folders().user_ports / "ttyV1");
  EXPECT_EQ(path(L"ttyUSB9"), machine.folders().dev / "ttyUSB9");
  EXPECT_EQ(path(L"/somewhere/else"), "/somewhere/else");
}

TEST(PortSources, OnePortHasOneKey) {
  EXPECT_EQ(normalize_port_key(L"/dev/ttyUSB0"), L"ttyUSB0");
  EXPECT_EQ(normalize_port_key(L"ttyUSB0"), L"ttyUSB0");
  EXPECT_NE(normalize_port_key(L"ttyusb0"), L"ttyUSB0");
  EXPECT_EQ(normalize_port_key(L"/home/x/port"), L"/home/x/port");
}

TEST(UserPorts, AnAnnouncedPortIsListedUntilItIsHiddenOrGivenBack) {
  FakeMachine machine;
  const fs::path folder = *machine.folders().user_ports;
  {
    auto port = UserPort::claim(folder, "ttyV0");
    ASSERT_TRUE(port);
    EXPECT_EQ(machine.names(), Names{});
    port->show("/dev/null");
    EXPECT_EQ(machine.names(), Names{"ttyV0"});
    EXPECT_EQ(machine.text_of(L"ttyV0"), "Virtual device");
    EXPECT_FALSE(UserPort::claim(folder, "ttyV0"));
    port->hide();
    EXPECT_EQ(machine.names(), Names{});
    EXPECT_FALSE(UserPort::claim(folder, "ttyV0")) << "an unplugged device keeps its name";
    port->show("/dev/zero");
    port->show("/dev/null");
    EXPECT_EQ(fs::read_symlink(folder / "ttyV0"), "/dev/null");
  }
  EXPECT_TRUE(fs::is_empty(folder));
  EXPECT_TRUE(UserPort::claim(folder, "ttyV0"));
  for (const char* name : {"", ".", "..", ".x", "a/b"})
    EXPECT_FALSE(UserPort::claim(folder, name)) << name;
}

TEST(UserPorts, AKilledAnnouncerLeavesNothingBehindThatCounts) {
  FakeMachine machine;
  const fs::path folder = *machine.folders().user_ports;
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    auto port = UserPort::claim(folder, "ttyV0");
    if (port) port->show("/dev/null");
    ::_exit(port && listed_user_ports(folder).size() == 1 ? 0 : 1);  // no destructor, as if killed
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_EQ(WEXITSTATUS(status), 0);
  ASSERT_TRUE(fs::is_symlink(folder / "ttyV0"));
  EXPECT_EQ(machine.names(), Names{});
  auto port = UserPort::claim(folder, "ttyV0");
  ASSERT_TRUE(port) << "the name must be free again";
  port->show("/dev/null");
  EXPECT_EQ(machine.names(), Names{"ttyV0"});
}

TEST(UserPorts, LinksMadeByOtherProgramsCountAsLongAsTheyLeadToADevice) {
  FakeMachine machine;
  const fs::path folder = *machine.folders().user_ports;
  fs::create_symlink("/dev/null", folder / "made");
  fs::create_symlink("/dev/no-such-device", folder / "dead");
  fs::create_symlink(folder, folder / "folder");
  std::ofstream(folder / "file") << "x";
  EXPECT_EQ(machine.names(), Names{"made"});
  EXPECT_FALSE(UserPort::claim(folder, "made"));
  EXPECT_TRUE(UserPort::claim(folder, "dead"));
}

// The environment belongs to the whole process; it is put back for the tests that follow.
class Environment {
 public:
  Environment(const char* name, const fs::path& value) : name_(name) {
    if (const char* old = ::getenv(name)) old_ = old;
    ::setenv(name, value.c_str(), 1);
  }
  ~Environment() {
    if (old_)
      ::setenv(name_, old_->c_str(), 1);
    else
      ::unsetenv(name_);
  }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  const char* name_;
  std::optional<std::string> old_;
};

TEST(UserPorts, TheFolderIsThisUsersAloneOrNotUsed) {
  const Folder scratch;
  ASSERT_EQ(::chmod(scratch.path().c_str(), 0700), 0);
  const Environment run_time("XDG_RUNTIME_DIR", scratch.path());
  EXPECT_FALSE(find_user_ports_folder());
  const fs::path folder = make_user_ports_folder();
  EXPECT_EQ(folder, scratch.path() / "HalvetricSerialTest" / "ports");
  EXPECT_EQ(find_user_ports_folder(), folder);
  ASSERT_EQ(::chmod(folder.c_str(), 0777), 0);
  EXPECT_FALSE(find_user_ports_folder());
  EXPECT_THROW(make_user_ports_folder(), std::runtime_error);

  fs::remove(folder);
  fs::create_directory(scratch.path() / "elsewhere");
  fs::create_directory_symlink(scratch.path() / "elsewhere", folder);
  EXPECT_FALSE(find_user_ports_folder()) << "a link may lead anywhere";
}

TEST(UserPorts, WithoutARunTimeFolderAPrivateOneUnderTheTemporaryFolderServes) {
  const Folder scratch;
  const Environment temporary("TMPDIR", scratch.path());
  const fs::path expected = scratch.path() / ("HalvetricSerialTest-" + std::to_string(::geteuid())) / "ports";
  for (const char* unusable : {"", "relative", "/nonexistent"}) {
    const Environment run_time("XDG_RUNTIME_DIR", unusable);
    EXPECT_EQ(make_user_ports_folder(), expected) << unusable;
    EXPECT_EQ(find_user_ports_folder(), expected) << unusable;
  }
  struct stat status {};
  ASSERT_EQ(::stat(expected.parent_path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700U);
}

}  // namespace
}  // namespace hvt::test
