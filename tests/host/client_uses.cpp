// Uses the C++ client wrongly, and prints what it throws.
// Usage: das_client_uses SOCKET MUTE-SOCKET ONE-WAY-METHOD...

#include <das/Client.h>

#include <iostream>

namespace {

void report(const std::string& use, const std::function<void()>& act) {
    try {
        act();
        std::cout << use << ": nothing\n";
    } catch (const das::Error& error) {
        std::cout << use << ": " << error.what() << "\n";
    }
}

void storeName(das::Client& client, const std::string& name) {
    const std::string entry = "<Entry>" + das::element("Surname", name) + "</Entry>";
    client.request("PhoneBook", "write_request", entry);
}

}  // namespace

int main(int argc, char** argv) {
    das::Client client(argv[1]);
    for (int i = 3; i < argc; ++i) {
        report("one-way", [&] { client.call(argv[i]); });
    }
    report("unknown", [&] { client.call("noSuch"); });
    report("no UTF-8", [&] { storeName(client, "\xff"); });
    report("no columns", [&] { client.read("PhoneBook", {}); });
    report("a wrong column", [&] { client.read("PhoneBook", {"NoSuch"}); });
    storeName(client, "a\rb\r\nc");
    std::cout << das::Parameter::quoted(client.read("PhoneBook", {"Surname"}).at(0).at("Surname"))
              << "\n";
    report("mute", [&] { das::Client(argv[2], 50).request("getCurrentUser"); });
    report("too long", [&] { client.request(std::string(9U << 20, 'x')); });
}
