#include "XmlHandler.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

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

// Half of a sound message must not be taken for the whole.
TEST(XmlHandlerTest, AParserWithoutMemoryIsNoErrorOfTheText) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "its allocator ends the process";
#endif
    const std::string text = "<a b='" + std::string(std::size_t{8} << 20U, 'x') + "'/>";
    rlimit usual{};
    ASSERT_EQ(::getrlimit(RLIMIT_DATA, &usual), 0);
    const rlimit little{1, usual.rlim_max};
    Events events;
    ASSERT_EQ(::setrlimit(RLIMIT_DATA, &little), 0);
    EXPECT_THROW(events.parse(text), std::bad_alloc);
    ASSERT_EQ(::setrlimit(RLIMIT_DATA, &usual), 0);
}

// Each new name took many times its text: 4 MB of them had 36 MB of the parser's own.
TEST(XmlHandlerTest, NamesWithoutNumberAreAnError) {
    std::string text = "<r>";
    for (int i = 0; i < 500000; ++i) {
        text += "<a" + std::to_string(i) + "/>";
        if (i == 1000) {
            EXPECT_EQ(1, Events().parse(text + "</r>"));
        }
    }
    XmlHandler handler(nullptr, nullptr, nullptr, nullptr);
    text += "</r>";
    EXPECT_EQ(0, handler.parseMessage(text.c_str(), static_cast<int>(text.size())));
}

TEST(XmlHandlerTest, ACallbackEndsTheParse) {
    struct Stopping {
        static void start(void* seen, const char* name, const char**) {
            *static_cast<std::string*>(seen) += name;
            if (*name == 'b') {
                XmlHandler::stop();
            }
        }
        static void end(void* seen, const char*) { *static_cast<std::string*>(seen) += '/'; }
    };
    std::string seen;
    const std::string text = "<a><b/><c/></a>";
    XmlHandler handler(&seen, Stopping::start, Stopping::end, nullptr);
    EXPECT_EQ(0, handler.parseMessage(text.c_str(), static_cast<int>(text.size())));
    EXPECT_EQ("ab", seen);
    XmlHandler::stop();  // outside of a parse
    EXPECT_EQ(0, handler.parseMessage(text.c_str(), static_cast<int>(text.size())));
}

// A long message goes to the parser in pieces.
TEST(XmlHandlerTest, TextsAndCharactersAcrossPiecesStayWhole) {
    std::string value;
    while (value.size() < (std::size_t{3} << 20U)) {
        value += "\xc3\xa4x";
    }
    Events events;
    EXPECT_EQ(1, events.parse("<a b='" + value + "'>" + value + "</a>"));
    EXPECT_EQ("<a b=" + value + ">" + value + "</a>", events.seen);
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
