// SPDX-License-Identifier: MIT
//
// wbfsi xml: a document read and written back, whole or record by record, or its tree.

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "host/charset.h"
#include "host/config.h"
#include "host/messages.h"
#include "tool/columns.h"
#include "tool/command.h"
#include "tool/failure.h"
#include "tool/interrupt.h"
#include "tool/temporary_setting.h"
#include "tool/xml_output.h"
#include "tool/xml_records.h"
#include "tool/xml_source.h"
#include "wbfsi/xml_parser.h"
#include "wbfsi/xml_writer.h"

namespace tool {

namespace {

struct Options {
    std::string file;
    std::string output = "-";
    std::optional<std::string> encoding;
    bool keep_whitespace = false;
    bool records = false;
    bool tree = false;
};

// What the library prints on its error output goes to the output.  No exception passes
// through the library: the first one is kept, and nothing more is put.
class Dump {
 public:
    explicit Dump(XmlOutput &output) : output_(output) { ZOutputRedirect(0, take, this); }
    ~Dump() { ZOutputRedirect(0, nullptr, nullptr); }
    Dump(const Dump &) = delete;
    Dump &operator=(const Dump &) = delete;

    void rethrow() const {
        if (exception_) {
            std::rethrow_exception(exception_);
        }
    }

 private:
    static void take(const char *text, size_t n, void *user) {
        auto *dump = static_cast<Dump *>(user);
        if (dump->exception_) {
            return;
        }
        try {
            dump->output_.put({text, n});
        } catch (...) {
            dump->exception_ = std::current_exception();
        }
    }

    XmlOutput &output_;
    std::exception_ptr exception_;
};

void show_tree(const Options &options) {
    XmlSource source(options.file, XmlSource::Reading::kAlone, XmlCheck::Outside::kPassedOver);
    const XmlParser parser(ZxmlParser_new("-", ZXML_READ_USUAL | ZXML_WHOLE, 0));
    if (parser == 0) {
        source.fail();
    }
    source.finish();
    refuse_deep_nesting(source.name(), ZxmlParser_top_element(parser));
    XmlOutput output(options.output);
    {
        const Dump dump(output);
        ZxmlParser_dump(parser);
        dump.rethrow();
    }
    output.finish();
}

void write_whole(const Options &options, int encoding_type) {
    XmlSource source(options.file, XmlSource::Reading::kChecked, XmlCheck::Outside::kRefused);
    const XmlParser parser(ZxmlParser_new("-", ZXML_READ_USUAL | ZXML_WHOLE, 0));
    if (parser == 0) {
        source.fail();
    }
    source.finish();
    refuse_deep_nesting(source.name(), ZxmlParser_top_element(parser));
    if (encoding_type != 0) {
        set_encoding(parser, encoding_type);
    }
    const XmlText document = written_document(parser);
    if (encoding_type == kXmlLatin1) {
        set_encoding(parser, kXmlUtf8);
        const XmlText utf8 = written_document(parser);
        refuse_lost_characters(source.name(), without_declaration(view_of(utf8)),
                               without_declaration(view_of(document)));
        set_encoding(parser, encoding_type);
    }
    XmlOutput output(options.output);
    output.put(mark_needed(view_of(document), ZxmlParser_get_encoding(parser)));
    output.put(view_of(document));
    output.finish();
}

template <typename Copy>
void with_records(const Options &options, XmlCheck::Outside outside, Copy copy) {
    XmlSource source(options.file, XmlSource::Reading::kChecked, outside);
    XmlOutput output(options.output);
    std::optional<InterruptGuard> guard;
    if (output.is_file()) {
        guard.emplace(nullptr, "no file was written");
    }
    try {
        copy(source, output);
    } catch (const Failure &) {
        // What was read before the place of the error is good.
        output.abandon();
        throw;
    }
    output.finish();
}

void copy_records(const Options &options, int encoding_type) {
    with_records(options, XmlCheck::Outside::kRefused, [&](XmlSource &source, XmlOutput &output) {
        copy_xml_records(source, output, encoding_type);
    });
}

void show_records(const Options &options) {
    with_records(options, XmlCheck::Outside::kPassedOver, [](XmlSource &source, XmlOutput &output) {
        const Dump dump(output);
        const auto show = [](ZHandle top, void *user) {
            ZxmlElem_dump(top, 1);
            static_cast<const Dump *>(user)->rethrow();
        };
        show_xml_records(source, show, const_cast<Dump *>(&dump));
    });
}

// Reading without its blanks loses one in front of a reference, as in "R &amp; D".  A
// document that is written has its texts whole, then, and it is the writer that leaves
// out the blanks around them.  The tree is that of the programs.
const char *whitespace_setting(const Options &options) {
    if (options.keep_whitespace) {
        return "BOTH";
    }
    const int setting = ZCGetValueShort("XML_KEEP_WHITESPACE", 0);
    constexpr const char *kNames[] = {"OFF", "INPUT", "OUTPUT", "BOTH"};
    if (setting < 0 || setting > 3) {
        return kNames[0];
    }
    return kNames[options.tree ? setting : setting | 1];
}

int run(const Options &options) {
    const int encoding_type = options.encoding ? type_of_encoding(*options.encoding) : 0;
    const TemporarySetting keep("XML_KEEP_WHITESPACE", whitespace_setting(options));
    // Texts pass through the program's character set, which may not have them all.
    constexpr int kUtf8Page = 65001;
    ZSetCOBOLCharSet(kUtf8Page);
    if (options.records) {
        options.tree ? show_records(options) : copy_records(options, encoding_type);
    } else {
        options.tree ? show_tree(options) : write_whole(options, encoding_type);
    }
    return kDone;
}

// The line of the document stands below the message.
int run_and_report(const Options &options) {
    try {
        return run(options);
    } catch (const OutputClosed &) {
        return kDone;
    } catch (const XmlFailure &failure) {
        std::cerr << "wbfsi xml: " << without_controls(failure.what()) << '\n' << failure.excerpt();
        return failure.status();
    }
}

}  // namespace

Action declare_xml(CLI::App &app) {
    const auto options = std::make_shared<Options>();
    app.add_option("FILE", options->file, "The document, - for the standard input")->required();
    app.add_option("--output", options->output,
                   "Write to this file, which may be the document itself")
        ->type_name("FILE");
    CLI::Option *encoding =
        app.add_option("--encoding", options->encoding,
                       "Write in this encoding (default: that of the document): UTF-8, UTF-16LE, "
                       "UTF-16BE, ISO-8859-1")
            ->type_name("NAME");
    app.add_flag("--keep-whitespace", options->keep_whitespace,
                 "Keep the blanks around texts (default: those within them alone)");
    app.add_flag("--records", options->records,
                 "Read, write and forget the children of the top element one by one: memory does "
                 "not grow with the document");
    app.add_flag("--tree", options->tree,
                 "Print the elements, their values and attributes instead of the document")
        ->excludes(encoding);
    return [options] { return run_and_report(*options); };
}

}  // namespace tool
