#include "platform/xmlsaxparser.h"

#include "platform/xmlguards.h"

#include <libxml/SAX2.h>
#include <libxml/entities.h>
#include <libxml/globals.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/valid.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ORLO {
namespace {

std::string_view view(const xmlChar* text) {
    return text ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

std::string_view view(const xmlChar* begin, const xmlChar* end) {
    return std::string_view(reinterpret_cast<const char*>(begin), size_t(end - begin));
}

// libxml2's texts for its size limits tell the reader to pass it an option; no caller can,
// since the limits are fixed here on purpose, so such a text says the limit instead. Every
// text is one line: a diagnostic is a line.
std::string inOwnWords(std::string_view message) {
    const auto says = [message](std::string_view piece) {
        return message.find(piece) != std::string_view::npos;
    };
    const std::string fixed = ", the parser's fixed limit";
    // libxml2 refuses an element only once that many are open around it: the root and that
    // many levels below it pass.
    if (says("Excessive depth in document"))
        return "elements nest deeper than " + std::to_string(xmlParserMaxDepth + 1) + " levels" +
               fixed;
    if (says("too deep, use XML_PARSE_HUGE"))
        return "a content declaration nests deeper than the parser's fixed limit";
    if (says("Name too long"))
        return "a name is longer than " + std::to_string(XML_MAX_NAME_LENGTH) + " bytes" + fixed;
    static const std::pair<std::string_view, std::string_view> overlong[] = {
        {"AttValue length too long", "an attribute value"},
        {"Comment too big", "a comment"},
        {"CData section too big", "a CDATA section"},
        // Checked after the two above, which end alike.
        {"too big found", "a processing instruction"},
        {"Huge input lookup", "one piece of markup"},
    };
    for (const auto& [phrase, what] : overlong)
        if (says(phrase))
            return std::string(what) + " is longer than " + std::to_string(XML_MAX_TEXT_LENGTH) +
                   " bytes" + fixed;
    std::string line(message);
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
        line.pop_back();
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return line;
}

// `prefix:local`, or `local` alone.
void assignQualified(String& out, const xmlChar* prefix, const xmlChar* local) {
    if (prefix) {
        out.assign(view(prefix));
        out.push_back(':');
        out.append(view(local));
    } else {
        out.assign(view(local));
    }
}

class Bridge;

// libxml2 hands element names out of the parse's dictionary: one address per distinct name
// for as long as the parse lasts. Documents repeat a few names many times, so each pair of
// addresses is turned into strings once.
class ElementNames {
public:
    struct Names {
        String localName;
        String qualifiedName;
    };

    const Names& find(const xmlChar* prefix, const xmlChar* local) {
        // Open addressing on the local name's address: a name finds its slot at the first
        // probe or so, where a scan compared pairs until it came to it.
        size_t slot = slotOf(local);
        for (; keys_[slot].local; slot = (slot + 1) % slots)
            if (keys_[slot].local == local && keys_[slot].prefix == prefix)
                return known_[keys_[slot].index];
        // Reserved whole so that no entry moves while the parse runs.
        if (known_.capacity() < capacity)
            known_.reserve(capacity);
        Names* names = &spare_;
        if (known_.size() < capacity) {
            keys_[slot] = Key{prefix, local, known_.size()};
            names = &known_.emplace_back();
        }
        names->localName.assign(view(local));
        assignQualified(names->qualifiedName, prefix, local);
        return *names;
    }

private:
    // Past this many distinct names the rest are copied at each use: no schema document
    // has that many element names.
    static constexpr size_t capacity = 32;
    // Twice the names, so that the table stays at most half full.
    static constexpr size_t slots = 64;
    static_assert(slots >= 2 * capacity);
    // The top six bits of a multiplicative hash: one of the 64 slots.
    static size_t slotOf(const xmlChar* local) {
        return size_t((reinterpret_cast<uintptr_t>(local) >> 3) * 0x9E3779B97F4A7C15ull >> 58);
    }
    struct Key {
        const xmlChar* prefix;
        const xmlChar* local;
        size_t index;
    };
    std::array<Key, slots> keys_{};
    std::vector<Names> known_;
    Names spare_;
};

// Handlers keep the locator they were given, often past the end of the document. One locator
// per thread, pointed at the running parse and answering 0 between parses, keeps such a late
// call harmless.
class Locator final : public IXmlLocator {
public:
    // Returns the parse it followed before, to be put back when this one ends.
    const Bridge* follow(const Bridge* bridge) { return std::exchange(bridge_, bridge); }
    String getPublicId() const override { return String(); }
    String getSystemId() const override;
    int getLineNumber() const override;
    int getColumnNumber() const override;

private:
    const Bridge* bridge_ = nullptr;
};

thread_local Locator threadLocator;

// The length of a name out of libxml2's dictionary, which hands out one address per distinct
// name for as long as the parse lasts: each address is measured once.
class NameLengths {
public:
    uint32_t of(const xmlChar* name) {
        Slot& slot = slots_[(reinterpret_cast<uintptr_t>(name) >> 3) % slots_.size()];
        if (slot.name != name) {
            slot.name = name;
            slot.length = uint32_t(std::strlen(reinterpret_cast<const char*>(name)));
        }
        return slot.length;
    }

private:
    struct Slot {
        const xmlChar* name = nullptr;
        uint32_t length = 0;
    };
    std::array<Slot, 64> slots_{};
};

// A view over the attribute tuples libxml2 hands to startElementNs. Values are borrowed from
// libxml2 unless they held a reference that had to be expanded.
class Attributes final : public IXmlAttributes {
public:
    Attributes() = default;
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    ~Attributes() override { release(); }

    void bind(xmlParserCtxtPtr ctxt, const xmlChar** tuples, int count) {
        tuples_ = tuples;
        count_ = count;
        entries_.clear();
        for (int i = 0; i < count; ++i) {
            const xmlChar* local = tuples[5 * i];
            const xmlChar* prefix = tuples[5 * i + 1];
            const xmlChar* begin = tuples[5 * i + 3];
            const xmlChar* end = tuples[5 * i + 4];
            Entry& entry = entries_.emplace_back();
            entry.local = reinterpret_cast<const char*>(local);
            entry.localSize = local ? lengths_.of(local) : 0;
            entry.prefix = reinterpret_cast<const char*>(prefix);
            entry.prefixSize = prefix ? lengths_.of(prefix) : 0;
            if (begin && std::memchr(begin, '&', size_t(end - begin)))
                entry.value = expand(ctxt, begin, end);
            else
                entry.value = begin ? view(begin, end) : std::string_view();
        }
    }

    void release() {
        for (xmlChar* text : owned_)
            xmlFree(text);
        owned_.clear();
        count_ = 0;
    }

    int getLength() const override { return count_; }

    void getName(int index, String& name) const override {
        if (index < 0 || index >= count_) {
            name.clear();
            return;
        }
        assignQualified(name, tuples_[5 * index + 1], tuples_[5 * index]);
    }

    std::string_view getPlainName(int index) const override {
        if (index < 0 || index >= count_)
            return {};
        const Entry& entry = entries_[size_t(index)];
        return entry.prefixSize ? std::string_view()
                                : std::string_view(entry.local, entry.localSize);
    }

    String getValue(std::string_view name) const override { return getValue(getIndex(name)); }

    String getValue(int index) const override {
        if (index < 0 || index >= count_)
            return String();
        return String(entries_[size_t(index)].value);
    }

    std::string_view getValueView(int index) const override {
        return index < 0 || index >= count_ ? std::string_view() : entries_[size_t(index)].value;
    }

    int getIndex(std::string_view wanted) const override {
        if (wanted.empty())
            return -1;
        for (int i = 0; i < count_; ++i) {
            const Entry& entry = entries_[size_t(i)];
            if (entry.prefixSize == 0) {
                // The length and the first byte rule out most names without a call to compare.
                if (wanted.size() == entry.localSize && wanted[0] == entry.local[0] &&
                    std::memcmp(wanted.data(), entry.local, wanted.size()) == 0)
                    return i;
            } else if (wanted.size() == entry.prefixSize + 1 + entry.localSize &&
                       std::memcmp(wanted.data(), entry.prefix, entry.prefixSize) == 0 &&
                       wanted[entry.prefixSize] == ':' &&
                       std::memcmp(wanted.data() + entry.prefixSize + 1, entry.local,
                                   entry.localSize) == 0) {
                return i;
            }
        }
        return -1;
    }

private:
    // Without entity substitution libxml2 leaves user entity references in attribute values
    // as they are and turns `&amp;` into `&#38;`; the handler wants the finished value.
    std::string_view expand(xmlParserCtxtPtr ctxt, const xmlChar* begin, const xmlChar* end) {
        ++ctxt->depth;
        xmlChar* expanded =
            xmlStringLenDecodeEntities(ctxt, begin, int(end - begin), XML_SUBSTITUTE_REF, 0, 0, 0);
        --ctxt->depth;
        if (!expanded)
            return view(begin, end);
        owned_.push_back(expanded);
        return view(expanded);
    }

    // One attribute, measured once per element: handlers look names up many times.
    struct Entry {
        const char* local;
        uint32_t localSize;
        uint32_t prefixSize;
        const char* prefix;
        std::string_view value;
    };

    const xmlChar** tuples_ = nullptr;
    int count_ = 0;
    std::vector<Entry> entries_;
    NameLengths lengths_;
    std::vector<xmlChar*> owned_;
};

// Everything one parse needs, reached from libxml2 through the user data pointer. Every entry
// point catches what the handler throws: a C++ exception must not cross libxml2's C frames.
class Bridge {
public:
    Bridge(IXmlHandler& handler, String systemId)
        : handler_(handler), systemId_(std::move(systemId)) {}

    IXmlHandler& handler() { return handler_; }
    xmlParserCtxtPtr context() const { return ctxt_; }
    void attach(xmlParserCtxtPtr ctxt) { ctxt_ = ctxt; }
    const String& systemId() const { return systemId_; }
    bool stopped() const { return stopped_; }
    const std::exception_ptr& failure() const { return failure_; }

    // From an error callback libxml2 may be in the middle of work (switching the input's
    // encoding, say) that a halt would pull the buffers from under, so there the parse only
    // loses its callbacks and runs out on its own; elsewhere it is halted at once.
    enum class Halt { Now, SilenceOnly };

    template <typename Action> void guard(Action&& action, Halt halt = Halt::Now) noexcept {
        if (stopped_)
            return;
        try {
            action();
        } catch (...) {
            failure_ = std::current_exception();
            stopped_ = true;
            if (!ctxt_)
                return;
            if (halt == Halt::Now)
                xmlStopParser(ctxt_);
            else
                ctxt_->disableSAX = 1;
        }
    }

    void flushText() {
        if (text_.empty())
            return;
        // Cleared before the call so that a throwing handler does not see the run twice.
        pending_.swap(text_);
        text_.clear();
        handler_.characters(pending_);
    }

    void report(xmlErrorLevel level, std::string_view message, int line, int column) {
        if (muted_ || level == XML_ERR_NONE)
            return;
        guard(
            [&] {
                flushText();
                const XmlException problem{String(inOwnWords(message)), line, column};
                if (level == XML_ERR_WARNING)
                    handler_.warning(problem);
                else if (level == XML_ERR_ERROR)
                    handler_.error(problem);
                else
                    handler_.fatalError(problem);
            },
            Halt::SilenceOnly);
    }

    // libxml2's unstructured channel hands out pieces of a line; they go out as one error.
    void appendGeneric(const char* format, va_list args) {
        char piece[512];
        const int length = std::vsnprintf(piece, sizeof piece, format, args);
        if (length <= 0)
            return;
        generic_.append(piece, std::min(size_t(length), sizeof piece - 1));
        if (generic_.back() == '\n')
            flushGeneric();
    }

    void flushGeneric() {
        if (generic_.empty())
            return;
        String text;
        text.swap(generic_);
        const bool attached = ctxt_ && ctxt_->input;
        report(XML_ERR_ERROR, text, attached ? ctxt_->input->line : 0,
               attached ? ctxt_->input->col : 0);
    }

    // Re-expanding attribute values would report their problems a second time.
    struct Mute {
        explicit Mute(Bridge& bridge) : bridge_(bridge) { bridge_.muted_ = true; }
        ~Mute() { bridge_.muted_ = false; }
        Bridge& bridge_;
    };

    // Documents without namespaces are the rule: their elements leave the text empty.
    void setNameSpace(const xmlChar* uri) {
        if (uri)
            nameSpace_.assign(view(uri));
        else
            nameSpace_.clear();
    }

    String text_;
    String pending_;
    String nameSpace_;
    ElementNames elementNames_;
    Attributes attributes_;
    // Prefixes declared on open elements, and how many each element declared.
    std::vector<const xmlChar*> prefixes_;
    std::vector<int> declaredCounts_;

private:
    IXmlHandler& handler_;
    String systemId_;
    xmlParserCtxtPtr ctxt_ = nullptr;
    std::exception_ptr failure_;
    bool stopped_ = false;
    bool muted_ = false;
    String generic_;
};

String Locator::getSystemId() const {
    return bridge_ ? bridge_->systemId() : String();
}

int Locator::getLineNumber() const {
    const xmlParserCtxtPtr ctxt = bridge_ ? bridge_->context() : nullptr;
    return ctxt && ctxt->input ? ctxt->input->line : 0;
}

int Locator::getColumnNumber() const {
    const xmlParserCtxtPtr ctxt = bridge_ ? bridge_->context() : nullptr;
    return ctxt && ctxt->input ? ctxt->input->col : 0;
}

class ScopedLocator {
public:
    explicit ScopedLocator(const Bridge& bridge) : outer_(threadLocator.follow(&bridge)) {}
    ~ScopedLocator() { threadLocator.follow(outer_); }
    ScopedLocator(const ScopedLocator&) = delete;
    ScopedLocator& operator=(const ScopedLocator&) = delete;

private:
    const Bridge* outer_;
};

Bridge& bridgeOf(void* userData) {
    return *static_cast<Bridge*>(userData);
}

String text(const xmlChar* value) {
    return String(view(value));
}

// ---- libxml2 callbacks ------------------------------------------------------------------------

void onStartDocument(void* data) {
    Bridge& b = bridgeOf(data);
    b.guard([&] { b.handler().startDocument(); });
}

void onEndDocument(void* data) {
    Bridge& b = bridgeOf(data);
    // A broken document has no proper end.
    if (!b.context()->wellFormed)
        return;
    b.guard([&] {
        b.flushText();
        b.handler().endDocument();
    });
}

void onInternalSubset(void* data, const xmlChar* name, const xmlChar* publicId,
                      const xmlChar* systemId) {
    Bridge& b = bridgeOf(data);
    if (b.stopped())
        return;
    // Declared entities live in a document of libxml2's own; without one they are lost.
    xmlParserCtxtPtr ctxt = b.context();
    if (!ctxt->myDoc)
        xmlSAX2StartDocument(ctxt);
    xmlSAX2InternalSubset(ctxt, name, publicId, systemId);
    b.guard([&] { b.handler().startDTD(text(name), text(publicId), text(systemId)); });
}

// Called once the internal subset is over. The external subset is never read.
void onExternalSubset(void* data, const xmlChar*, const xmlChar*, const xmlChar*) {
    Bridge& b = bridgeOf(data);
    b.guard([&] { b.handler().endDTD(); });
}

xmlEntityPtr onGetEntity(void* data, const xmlChar* name) {
    return xmlSAX2GetEntity(bridgeOf(data).context(), name);
}

xmlEntityPtr onGetParameterEntity(void* data, const xmlChar* name) {
    return xmlSAX2GetParameterEntity(bridgeOf(data).context(), name);
}

void onEntityDecl(void* data, const xmlChar* name, int type, const xmlChar* publicId,
                  const xmlChar* systemId, xmlChar* content) {
    Bridge& b = bridgeOf(data);
    if (b.stopped())
        return;
    xmlSAX2EntityDecl(b.context(), name, type, publicId, systemId, content);
    b.guard([&] {
        const bool parameter =
            type == XML_INTERNAL_PARAMETER_ENTITY || type == XML_EXTERNAL_PARAMETER_ENTITY;
        String shown = parameter ? String("%") + text(name) : text(name);
        if (type == XML_INTERNAL_GENERAL_ENTITY || type == XML_INTERNAL_PARAMETER_ENTITY)
            b.handler().internalEntityDeclaration(shown, text(content));
        else
            b.handler().externalEntityDeclaration(shown, text(publicId), text(systemId));
    });
}

void onUnparsedEntityDecl(void* data, const xmlChar* name, const xmlChar* publicId,
                          const xmlChar* systemId, const xmlChar* notation) {
    Bridge& b = bridgeOf(data);
    if (b.stopped())
        return;
    xmlSAX2UnparsedEntityDecl(b.context(), name, publicId, systemId, notation);
    b.guard([&] {
        b.handler().unparsedEntityDeclaration(text(name), text(publicId), text(systemId),
                                              text(notation));
    });
}

void onNotationDecl(void* data, const xmlChar* name, const xmlChar* publicId,
                    const xmlChar* systemId) {
    Bridge& b = bridgeOf(data);
    b.guard([&] { b.handler().notationDeclaration(text(name), text(publicId), text(systemId)); });
}

void onElementDecl(void* data, const xmlChar* name, int type, xmlElementContentPtr content) {
    Bridge& b = bridgeOf(data);
    b.guard([&] {
        String model;
        if (type == XML_ELEMENT_TYPE_EMPTY) {
            model = "EMPTY";
        } else if (type == XML_ELEMENT_TYPE_ANY) {
            model = "ANY";
        } else if (content) {
            char buffer[5000];
            buffer[0] = '\0';
            xmlSnprintfElementContent(buffer, sizeof buffer, content, 1);
            model = buffer;
        }
        b.handler().elementDeclaration(text(name), model);
    });
}

String attributeType(int type, xmlEnumerationPtr values) {
    switch (type) {
    case XML_ATTRIBUTE_ID:
        return "ID";
    case XML_ATTRIBUTE_IDREF:
        return "IDREF";
    case XML_ATTRIBUTE_IDREFS:
        return "IDREFS";
    case XML_ATTRIBUTE_ENTITY:
        return "ENTITY";
    case XML_ATTRIBUTE_ENTITIES:
        return "ENTITIES";
    case XML_ATTRIBUTE_NMTOKEN:
        return "NMTOKEN";
    case XML_ATTRIBUTE_NMTOKENS:
        return "NMTOKENS";
    case XML_ATTRIBUTE_ENUMERATION:
    case XML_ATTRIBUTE_NOTATION: {
        String result = type == XML_ATTRIBUTE_NOTATION ? "NOTATION (" : "(";
        for (xmlEnumerationPtr value = values; value; value = value->next) {
            if (value != values)
                result += '|';
            result += text(value->name);
        }
        result += ')';
        return result;
    }
    default:
        return "CDATA";
    }
}

const char* attributeMode(int mode) {
    switch (mode) {
    case XML_ATTRIBUTE_REQUIRED:
        return "#REQUIRED";
    case XML_ATTRIBUTE_IMPLIED:
        return "#IMPLIED";
    case XML_ATTRIBUTE_FIXED:
        return "#FIXED";
    default:
        return "";
    }
}

void onAttributeDecl(void* data, const xmlChar* element, const xmlChar* attribute, int type,
                     int mode, const xmlChar* defaultValue, xmlEnumerationPtr values) {
    Bridge& b = bridgeOf(data);
    // The enumeration is ours to free, whatever happens.
    const std::unique_ptr<xmlEnumeration, void (*)(xmlEnumerationPtr)> owned(values,
                                                                             xmlFreeEnumeration);
    b.guard([&] {
        b.handler().attributeDeclaration(text(element), text(attribute),
                                         attributeType(type, values), attributeMode(mode),
                                         text(defaultValue));
    });
}

void onStartElementNs(void* data, const xmlChar* localName, const xmlChar* prefix,
                      const xmlChar* uri, int declarationCount, const xmlChar** declarations,
                      int attributeCount, int, const xmlChar** attributes) {
    Bridge& b = bridgeOf(data);
    b.guard([&] {
        b.flushText();
        IXmlHandler& handler = b.handler();
        b.declaredCounts_.push_back(declarationCount);
        for (int i = 0; i < declarationCount; ++i) {
            b.prefixes_.push_back(declarations[2 * i]);
            handler.startXMLNamespace(text(declarations[2 * i]), text(declarations[2 * i + 1]));
        }
        {
            Bridge::Mute mute(b);
            b.attributes_.bind(b.context(), attributes, attributeCount);
        }
        struct Release {
            Attributes& attributes;
            ~Release() { attributes.release(); }
        } release{b.attributes_};
        b.setNameSpace(uri);
        const ElementNames::Names& names = b.elementNames_.find(prefix, localName);
        handler.startElement(b.nameSpace_, names.localName, names.qualifiedName, b.attributes_);
    });
}

void onEndElementNs(void* data, const xmlChar* localName, const xmlChar* prefix,
                    const xmlChar* uri) {
    Bridge& b = bridgeOf(data);
    b.guard([&] {
        b.flushText();
        b.setNameSpace(uri);
        const ElementNames::Names& names = b.elementNames_.find(prefix, localName);
        b.handler().endElement(b.nameSpace_, names.localName, names.qualifiedName);
        if (b.declaredCounts_.empty())
            return;
        const int declared = b.declaredCounts_.back();
        b.declaredCounts_.pop_back();
        for (int i = 0; i < declared; ++i) {
            const xmlChar* declaredPrefix = b.prefixes_.back();
            b.prefixes_.pop_back();
            b.handler().endXMLNamespace(text(declaredPrefix));
        }
    });
}

void onCharacters(void* data, const xmlChar* chars, int length) {
    Bridge& b = bridgeOf(data);
    // libxml2 still hands out some text after a fatal error; the document is over by then.
    if (b.stopped() || !b.context()->wellFormed)
        return;
    b.guard([&] { b.text_.append(reinterpret_cast<const char*>(chars), size_t(length)); });
}

void onCdataBlock(void* data, const xmlChar* chars, int length) {
    Bridge& b = bridgeOf(data);
    b.guard([&] {
        b.flushText();
        b.handler().startCDATA();
        if (length > 0) {
            b.pending_.assign(reinterpret_cast<const char*>(chars), size_t(length));
            b.handler().characters(b.pending_);
        }
        b.handler().endCDATA();
    });
}

void onComment(void* data, const xmlChar* value) {
    Bridge& b = bridgeOf(data);
    b.guard([&] {
        b.flushText();
        b.handler().comment(text(value));
    });
}

void onProcessingInstruction(void* data, const xmlChar* target, const xmlChar* value) {
    Bridge& b = bridgeOf(data);
    b.guard([&] {
        b.flushText();
        b.handler().processingInstruction(text(target), text(value));
    });
}

// libxml2 announces every entity reference it did not turn into content of its own; internal
// entities have already arrived as their replacement text.
void onReference(void* data, const xmlChar* name) {
    Bridge& b = bridgeOf(data);
    b.guard([&] {
        const xmlEntityPtr entity = xmlGetDocEntity(b.context()->myDoc, name);
        if (entity && entity->etype == XML_INTERNAL_GENERAL_ENTITY)
            return;
        b.flushText();
        b.handler().skippedEntity(text(name));
    });
}

void onStructuredError(void* data, xmlErrorPtr error) {
    if (!data || !error)
        return;
    bridgeOf(data).report(error->level, error->message ? error->message : "unknown XML error",
                          error->line, error->int2);
}

void onGenericError(void* data, const char* format, ...) {
    if (!data)
        return;
    va_list args;
    va_start(args, format);
    bridgeOf(data).appendGeneric(format, args);
    va_end(args);
}

xmlSAXHandler makeSaxHandler() {
    xmlSAXHandler sax;
    std::memset(&sax, 0, sizeof sax);
    sax.initialized = XML_SAX2_MAGIC;
    sax.internalSubset = onInternalSubset;
    sax.externalSubset = onExternalSubset;
    sax.getEntity = onGetEntity;
    sax.getParameterEntity = onGetParameterEntity;
    sax.entityDecl = onEntityDecl;
    sax.unparsedEntityDecl = onUnparsedEntityDecl;
    sax.notationDecl = onNotationDecl;
    sax.elementDecl = onElementDecl;
    sax.attributeDecl = onAttributeDecl;
    sax.startDocument = onStartDocument;
    sax.endDocument = onEndDocument;
    sax.startElementNs = onStartElementNs;
    sax.endElementNs = onEndElementNs;
    sax.characters = onCharacters;
    // The same function for both keeps libxml2 from guessing which blanks are ignorable.
    sax.ignorableWhitespace = onCharacters;
    sax.cdataBlock = onCdataBlock;
    sax.comment = onComment;
    sax.processingInstruction = onProcessingInstruction;
    sax.reference = onReference;
    sax.serror = onStructuredError;
    return sax;
}

bool isOurContext(xmlParserCtxtPtr ctxt) {
    return ctxt && ctxt->sax && ctxt->sax->startElementNs == onStartElementNs;
}

// ---- scoped process and thread state ----------------------------------------------------------

// A refused entity is a warning of the parse that asked for it.
void reportRefusedEntity(const char* url, const char* id, xmlParserCtxtPtr ctxt) {
    if (!isOurContext(ctxt) || !ctxt->userData)
        return;
    Bridge& b = bridgeOf(ctxt->userData);
    String message = "External entity '";
    message += url ? url : (id ? id : "");
    message += "' is not loaded";
    b.report(XML_ERR_WARNING, message, ctxt->input ? ctxt->input->line : 0,
             ctxt->input ? ctxt->input->col : 0);
}

struct ContextDeleter {
    void operator()(xmlParserCtxtPtr ctxt) const {
        if (ctxt->myDoc) {
            xmlFreeDoc(ctxt->myDoc);
            ctxt->myDoc = nullptr;
        }
        xmlFreeParserCtxt(ctxt);
    }
};
using ContextPtr = std::unique_ptr<xmlParserCtxt, ContextDeleter>;

// `systemId` names the document in messages and in the locator; empty for a string.
bool parseBuffer(IXmlHandler& handler, const char* data, size_t size, const String& systemId,
                 const char* openFailure = nullptr) {
    xmlInitParser();
    Bridge bridge(handler, systemId);
    bool wellFormed = false;
    {
        // Messages that do not come through the context's own channel must reach the handler
        // too instead of standard error.
        ScopedXmlErrorChannels channels(&bridge, onStructuredError, onGenericError);
        ScopedEntityRefusal loader(reportRefusedEntity);
        ScopedLocator following(bridge);
        bridge.guard([&] { handler.setDocumentLocator(&threadLocator); });
        if (openFailure) {
            bridge.report(XML_ERR_FATAL, openFailure, 0, 0);
        } else if (size == 0) {
            bridge.report(XML_ERR_FATAL, "Document is empty", 1, 1);
        } else if (size > size_t(INT_MAX)) {
            bridge.report(XML_ERR_FATAL, "Document is too large", 0, 0);
        } else if (!bridge.stopped()) {
            ContextPtr ctxt(xmlCreateMemoryParserCtxt(data, int(size)));
            if (!ctxt) {
                bridge.report(XML_ERR_FATAL, "Cannot create an XML parser", 0, 0);
            } else {
                // The context owns its handler block; overwriting it keeps that ownership.
                *ctxt->sax = makeSaxHandler();
                ctxt->userData = &bridge;
                xmlCtxtUseOptions(ctxt.get(), XML_PARSE_NONET);
                if (!systemId.empty() && ctxt->input && !ctxt->input->filename)
                    ctxt->input->filename =
                        reinterpret_cast<char*>(xmlStrdup(BAD_CAST systemId.c_str()));
                bridge.attach(ctxt.get());
                xmlParseDocument(ctxt.get());
                wellFormed = ctxt->wellFormed != 0;
                bridge.flushGeneric();
                bridge.attach(nullptr);
            }
        }
    }
    if (bridge.failure())
        std::rethrow_exception(bridge.failure());
    return wellFormed;
}

// A document's bytes, in memory that is kept from one document to the next and never
// cleared: reading overwrites it, so a read of many documents neither maps fresh memory for
// each nor fills it with zeros first.
class ReadBuffer {
public:
    char* data() const { return data_.get(); }
    size_t size() const { return size_; }

    // Reads the whole file, which may be longer or shorter than its size said.
    bool read(const String& path, String& failure) {
        size_ = 0;
        const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (descriptor < 0) {
            failure = "Cannot open file '" + path + "': " + std::strerror(errno);
            return false;
        }
        struct stat status {};
        if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))
            // One more byte, so that a file of the size it said ends with a short read.
            reserve(size_t(status.st_size) + 1);
        int error = 0;
        for (;;) {
            if (size_ == capacity_)
                reserve(std::max<size_t>(2 * capacity_, 1 << 16));
            const ssize_t got = ::read(descriptor, data_.get() + size_, capacity_ - size_);
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0) {
                error = got < 0 ? errno : 0;
                break;
            }
            size_ += size_t(got);
        }
        ::close(descriptor);
        if (error == 0)
            return true;
        failure = "Cannot read file '" + path + "': " + std::strerror(error);
        return false;
    }

private:
    void reserve(size_t capacity) {
        if (capacity <= capacity_)
            return;
        std::unique_ptr<char[]> larger(new char[capacity]);
        if (size_ > 0)
            std::memcpy(larger.get(), data_.get(), size_);
        data_ = std::move(larger);
        capacity_ = capacity;
    }

    std::unique_ptr<char[]> data_;
    size_t size_ = 0;
    size_t capacity_ = 0;
};

} // namespace

XmlSAXParser::XmlSAXParser(IXmlHandler* handler, const ParserType&, const bool&)
    : handler_(handler) {}

bool XmlSAXParser::parseFile(const String& path, const bool&, const bool&) {
    DefaultXmlHandler ignoring;
    IXmlHandler& handler = handler_ ? *handler_ : ignoring;
    String systemId(path);
    for (char& c : systemId)
        if (c == '\\')
            c = '/';
    // One buffer per thread, kept from one document to the next. A parse started from a
    // callback of another finds the buffer taken and uses one of its own.
    thread_local ReadBuffer kept;
    thread_local bool keptInUse = false;
    ReadBuffer own;
    const bool useKept = !keptInUse;
    ReadBuffer& content = useKept ? kept : own;
    keptInUse = keptInUse || useKept;
    struct Release {
        bool release;
        ~Release() {
            if (release)
                keptInUse = false;
        }
    } release{useKept};
    String failure;
    if (!content.read(systemId, failure))
        return parseBuffer(handler, nullptr, 0, systemId, failure.c_str());
    return parseBuffer(handler, content.data(), content.size(), systemId);
}

bool XmlSAXParser::parseString(const String& text, const bool&, const bool&) {
    DefaultXmlHandler ignoring;
    return parseBuffer(handler_ ? *handler_ : ignoring, text.data(), text.size(), String());
}

} // namespace ORLO
