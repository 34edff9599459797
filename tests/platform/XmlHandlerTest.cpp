#include "XmlHandler.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>

namespace {

/// Writes each event down: "<name key=value>", "</name>" and text as it comes.
struct Events {
    std::string seen;
    std::string throwAt;  ///< the event after which a callback throws

    void add(const std::string& event) {
        seen += event;
        if (event == throwAt) {
            throw std::runtime_error(event);
        }
    }

    static void start(void* self, const char* name, const char** attributes) {
        std::string event = std::string("<") + name;
        for (; *attributes != nullptr; attributes += 2) {
            event.append(" ").append(attributes[0]).append("=").append(attributes[1]);
        }
        static_cast<Events*>(self)->add(event + ">");
    }
    static void end(void* self, const char* name) {
        static_cast<Events*>(self)->add(std::string("</") + name + ">");
    }
    static void characters(void* self, const char* text, int length) {
        static_cast<Events*>(self)->add(std::string(text, static_cast<std::size_t>(length)));
    }

    int parse(const char* text, int length) {
        return XmlHandler(this, start, end, characters).parseMessage(text, length);
    }
    int parse(const std::string& text) {
        return parse(text.c_str(), static_cast<int>(text.size()));
    }
};

TEST(XmlHandlerTest, EventsComeInOrderUpToAnError) {
    const struct {
        const char* text;
        int result;
        const char* seen;
    } rows[] = {
        {"<a x='1' y=''>t<b>u</b>v</a>", 1, "<a x=1 y=>t<b>u</b>v</a>"},
        {"<?xml version='1.0'?><!-- c --><a>&lt;&amp;&#xe4;<![CDATA[<]]></a>", 1,
         "<a><&\xc3\xa4<</a>"},
        {"<a>t<b>u", 0, "<a>t<b>u"},
        {"<a>t</b>", 0, "<a>t"},
        {"<a>&unknown;</a>", 0, "<a>"},
        {"<a/><b/>", 0, "<a></a>"},
        {"<a>\xff</a>", 0, "<a>"},
        {"", 0, ""},
    };
    for (const auto& row : rows) {
        Events events;
        EXPECT_EQ(row.result, events.parse(row.text)) << row.text;
        EXPECT_EQ(row.seen, events.seen) << row.text;
    }
}

TEST(XmlHandlerTest, ElementsThatAreTooDeepAreAnError) {
    for (const int depth : {XmlHandler::DepthLimit, XmlHandler::DepthLimit + 1}) {
        std::string starts;
        std::string ends;
        for (int i = 0; i < depth; ++i) {
            starts += "<a>";
            ends += "</a>";
        }
        Events events;
        EXPECT_EQ(depth == XmlHandler::DepthLimit ? 1 : 0, events.parse(starts + "t" + ends));
    }
}

TEST(XmlHandlerTest, ADoctypeIsRefusedAndNothingIsExpanded) {
    for (const char* text :
         {"<!DOCTYPE a><a/>", "<!DOCTYPE a SYSTEM 'file:///etc/passwd'><a/>",
          "<!DOCTYPE a [<!ENTITY b 'bb'><!ENTITY c '&b;&b;&b;&b;'>]><a>&c;&c;&c;</a>",
          "<!DOCTYPE a [<!ENTITY f SYSTEM 'file:///etc/passwd'>]><a>&f;</a>"}) {
        Events events;
        EXPECT_EQ(0, events.parse(text)) << text;
        EXPECT_EQ("", events.seen) << text;
    }
}

TEST(XmlHandlerTest, LengthAndTerminatorBothLimitTheText) {
    const struct {
        int length;
        int result;
        const char* seen;
    } rows[] = {
        {-1, 0, ""},
        {8, 1, "<a>t</a>"},
        {INT_MAX, 0, "<a>t</a>"},
    };
    for (const auto& row : rows) {
        Events events;
        EXPECT_EQ(row.result, events.parse("<a>t</a>x", row.length)) << row.length;
        EXPECT_EQ(row.seen, events.seen) << row.length;
    }
    Events events;
    EXPECT_EQ(1, events.parse("<a/>\0<b>", 8));
    EXPECT_EQ(0, events.parse(nullptr, 4));
    EXPECT_EQ(1, XmlHandler(nullptr, nullptr, nullptr, nullptr).parseMessage("<a>t</a>", 8));
}

// The parser gathers in a buffer whose size is doubled and is an int: above 1 GiB it has none.
TEST(XmlHandlerTest, AParserWithoutMemoryIsNoErrorOfTheText) {
    constexpr std::size_t piece = std::size_t{16} << 20U;
    constexpr std::size_t size = (std::size_t{1} << 30U) + piece;
    const int file = ::memfd_create("text", MFD_CLOEXEC);  // one piece, seen again and again
    const std::string spaces(piece, ' ');
    ASSERT_EQ(::write(file, spaces.data(), piece), static_cast<ssize_t>(piece));
    void* const place = ::mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(place, MAP_FAILED);
    char* const text = static_cast<char*>(place);
    for (std::size_t at = 0; at < size; at += piece) {
        ASSERT_EQ(::mmap(text + at, piece, PROT_READ, MAP_SHARED | MAP_FIXED, file, 0), text + at);
    }
    Events events;
    EXPECT_THROW(events.parse(text, static_cast<int>(size)), std::bad_alloc);
    EXPECT_EQ(0, ::munmap(text, size) + ::close(file));
}

TEST(XmlHandlerTest, AnExceptionOfACallbackPassesAndNoEventFollowsIt) {
    for (const char* event : {"<a>", "t", "<b>", "</b>", "</a>"}) {
        Events events;
        events.throwAt = event;
        EXPECT_THROW(events.parse("<a>t<b/>u</a>"), std::runtime_error) << event;
        const std::size_t size = std::strlen(event);
        ASSERT_GE(events.seen.size(), size);
        EXPECT_EQ(event, events.seen.substr(events.seen.size() - size));
    }
}

}  // namespace
