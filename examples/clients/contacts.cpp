// Prints the current user and how many contacts he has, now and whenever contacts or the user change,
// until the host ends. Usage: das_example_contacts [SOCKET]
//
// Built by itself, with the package libdataaccessservice-dev: g++ -std=c++17 contacts.cpp -o contacts

#include <das/Client.h>

#include <iostream>

namespace {

void print(das::Client& client) {
    const std::string user = client.request("getCurrentUser");
    const auto contacts = client.read("PhoneBook", {"UniqueID", "Surname"}, user);
    std::cout << user << " has " << contacts.size() << " contacts" << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        das::Client client(argc > 1 ? argv[1] : "");
        // Listening begins before the first look, so that no change falls between the two.
        client.listen("PhoneBook");
        for (;;) {
            print(client);
            (void)client.wait([](const das::Row&) {});
        }
    } catch (const das::Error& error) {
        std::cerr << "das_example_contacts: " << error.what() << "\n";
        return 1;
    }
}
