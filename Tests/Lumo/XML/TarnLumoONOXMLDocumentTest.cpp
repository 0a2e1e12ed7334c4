#include "XML/TarnLumoONOXMLDocument.h"

#include <gmock/gmock.h>
#include <libxml/globals.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iomanip>
#include <sstream>

#include "Platform/ProgrammingError.h"
#include "Platform/Text.h"
#include "Support/LoopbackServer.h"
#include "XML/Internal/TarnLumoONOStringEncoding.h"
#include "XML/TarnLumoONOCSS.h"

namespace {

using namespace testing;

using Document = TarnLumoONOXMLDocument;
using Element = TarnLumoONOXMLElement;

std::shared_ptr<Document> parse(std::string_view xml) {
  auto document = Document::XMLDocumentWithData(xml);
  EXPECT_TRUE(document) << tarn::chainDescription(document.error());
  return *document;
}

/// Why the bytes are refused.
std::string refusal(std::string_view bytes) {
  const auto document = Document::XMLDocumentWithData(bytes);
  return document ? "parsed to " + (*document)->description() : document.error().failureReason.value_or("");
}

std::vector<std::string> texts(const std::vector<Element>& elements) {
  std::vector<std::string> result;
  for (const auto& element : elements) result.push_back(element.stringValue());
  return result;
}

/// The matches as text; "null" for no enumerator.
std::vector<std::string> matches(const Element& element, std::string_view expression) {
  const auto enumerator = element.XPath(expression);
  return enumerator ? texts(enumerator->allObjects()) : std::vector<std::string>{"null"};
}

std::string repeated(std::string_view text, std::size_t times) {
  std::string result;
  for (std::size_t i = 0; i < times; ++i) result += text;
  return result;
}

TEST(TarnLumoONOXMLDocumentTest, ReadsTheTreeOfADocument) {
  const auto document = parse(
      "<?xml version='1.0' encoding='UTF-8'?>\n<a:root xmlns:a='urn:a' n='1' a:m='2'>\n <One> x "
      "<b>y</b></One>"
      "<!-- c --><two/>t<ONE/></a:root>");
  EXPECT_THAT(document->version(), Optional(std::string("1.0")));
  EXPECT_EQ(document->stringEncoding(), TarnLumoONOStringEncoding::UTF8);
  const Element root = *document->rootElement();
  EXPECT_EQ(root.namespacePrefix().value_or("") + ":" + root.tag(), "a:root");
  EXPECT_THAT(root.attributes(), UnorderedElementsAre(Pair("n", "1"), Pair("m", "2")));
  static_assert(!std::is_reference_v<decltype(root.attributes())>, "a temporary's would dangle");
  static_assert(!std::is_reference_v<decltype(root.stringValue())>);
  EXPECT_THAT(root.valueForAttribute("m", "urn:a"), Optional(std::string("2")));
  EXPECT_EQ(root.valueForAttribute("n", "urn:a"), std::nullopt);
  EXPECT_THAT(texts(root.children()), ElementsAre(" x y", "", ""));
  const Element one = root.objectAtIndexedSubscript(0);
  EXPECT_EQ(one.lineNumber(), 3u);
  EXPECT_EQ(one.namespacePrefix(), std::nullopt);
  EXPECT_EQ(one.parent(), root);
  EXPECT_EQ(one.parent()->hash(), root.hash());
  EXPECT_EQ(one.previousSibling()->tag() + one.nextSibling()->tag(), "textcomment");
  EXPECT_EQ(one.description(), "<One> x <b>y</b></One>");
  EXPECT_TRUE(root.children()[1].isBlank());
  EXPECT_THAT(one.children()[0].children(), IsEmpty());
  EXPECT_THROW(static_cast<void>(root.objectAtIndexedSubscript(3)), tarn::ProgrammingError);
}

TEST(TarnLumoONOXMLDocumentTest, FindsChildrenByTagAndPrefixWithoutRegardToCase) {
  const auto document =
      parse("<r xmlns:p='urn:p'> <AdBreak>1</AdBreak><p:adbreak>2</p:adbreak><x/><text/></r>");
  const Element root = *document->rootElement();
  EXPECT_THAT(texts(root.childrenWithTag("adBREAK")), ElementsAre("1", "2"));
  EXPECT_THAT(texts(root.childrenWithTag("AdBreak", "P")), ElementsAre("2"));
  EXPECT_EQ(root.firstChildWithTag("adbreak", "p")->stringValue(), "2");
  EXPECT_EQ(root.firstChildWithTag("x", "p"), std::nullopt);
  for (const auto& [tag, prefix] :
       {std::pair("AdBrea", "p"), std::pair("AdBreak", "q"), std::pair("AdBreak", "")})
    EXPECT_THAT(root.childrenWithTag(tag, prefix), IsEmpty()) << tag << " in " << prefix;
  EXPECT_EQ(root.firstChildWithTag("text"), std::nullopt) << "a text node is named so, and ends the search";
  EXPECT_THAT(texts(root.childrenAtIndexes({0, 1, 2, 99})), ElementsAre("1", "2"));
  EXPECT_EQ(root.indexesOfChildrenPassingTest(nullptr), std::nullopt);
  EXPECT_THAT(root.indexesOfChildrenPassingTest([calls = 0](const _xmlNode*, bool& stop) mutable {
    stop = ++calls == 3;
    return calls != 2;
  }),
              Optional(ElementsAre(0, 2)));
}

TEST(TarnLumoONOXMLDocumentTest, ReadsNumbersDatesAndEntities) {
  const auto document = parse(
      "<!DOCTYPE r [<!ENTITY who 'you &amp; me'>]><r a='&who;'><n>1,200.5</n><n>x</n>"
      "<d>2024-02-03T04:05:06+0000</d><e>for &who;<![CDATA[ <b> ]]></e></r>");
  const auto children = document->rootElement()->children();
  EXPECT_EQ(children[0].numberValue(), 1200.5);
  EXPECT_FALSE(children[1].numberValue() || children[1].dateValue());
  EXPECT_EQ(children[2].dateValue()->time_since_epoch(), std::chrono::seconds(1706933106));
  EXPECT_EQ(std::string(children[3]), "for you & me <b> ");
  const auto sections = parse("<a><![CDATA[1]]><![CDATA[23]]><![CDATA[]]><![CDATA[" + std::string(50, '4') +
                              "]]><b/><![CDATA[5]]><![CDATA[6]]></a>");
  EXPECT_EQ(sections->rootElement()->stringValue(), "123" + std::string(50, '4') + "56");
  EXPECT_EQ(sections->functionResultByEvaluatingXPath("count(/a/node())")->numericValue, 3);
  EXPECT_THAT(document->rootElement()->attributes(), ElementsAre(Pair("a", "you & me")));
}

TEST(TarnLumoONOXMLDocumentTest, ElementsAreSafeToUseAfterTheDocumentIsDestroyed) {
  auto document = parse("<r a='1'><b>t</b></r>");
  const Element root = *document->rootElement();
  const Element child = root.children()[0];
  EXPECT_EQ(child.stringValue(), "t");
  document.reset();
  EXPECT_EQ(child.stringValue(), "t") << "already computed";
  EXPECT_EQ(root.stringValue() + root.tag() + root.description(), "");
  EXPECT_FALSE(root.lineNumber() || root.valueForAttribute("a") || root.XPath("b"));
  EXPECT_TRUE(root.attributes().empty() && root.children().empty());
  for (const auto& none : {child.parent(), root.firstChildWithXPath("./b"), root.firstChildWithTag("b")})
    EXPECT_EQ(none, std::nullopt);
}

TEST(TarnLumoONOXMLDocumentTest, KeepsAnArchiveAndASharedCopy) {
  auto document = parse("<r a='1'><b>t</b><b/></r>");
  const auto archive = document->archive();
  const auto copy = document->copy();
  EXPECT_EQ(copy->rootElement(), document->rootElement());
  EXPECT_EQ(copy->version(), document->version());
  EXPECT_EQ(copy->description(), "<r a=\"1\"><b>t</b><b/></r>");
  EXPECT_NE(copy->hash(), document->hash());
  EXPECT_FALSE(*copy == *document);
  document.reset();
  const auto restored = Document::initWithArchive(archive);
  EXPECT_EQ(restored->version().value_or("") + restored->rootElement()->tag(), "1.0r");
  EXPECT_EQ(restored->rootElement()->stringValue(), "t");
  EXPECT_THAT(restored->rootElement()->attributes(), ElementsAre(Pair("a", "1")));
  ASSERT_EQ(archive.rootElement->children.size(), 2u);
  EXPECT_EQ(archive.rootElement->children[0].stringValue, "t");
}

TEST(TarnLumoONOXMLDocumentTest, EvaluatesExpressionsFromAnyElement) {
  const auto document = parse(
      "<v:VMAP xmlns:v='urn:v'><v:A><k "
      "id='1'>one</k><k>two</k></v:A><v:A><k>three</k></v:A><n>7</n></v:VMAP>");
  const Element root = *document->rootElement();
  const Element first = root.children()[0];
  EXPECT_THAT(matches(first, "k"), ElementsAre("one", "two"));
  EXPECT_THAT(matches(first, "/v:VMAP/v:A/k"), ElementsAre("one", "two", "three"));
  EXPECT_THAT(matches(root, "//@id | //k[2]"), ElementsAre("1", "two"));
  EXPECT_THAT(matches(first, "text()"), ElementsAre("null")) << "nothing matched: no enumerator";
  EXPECT_THAT(matches(root, "//namespace::*"), ElementsAre("null")) << "namespaces are no part of the tree";
  for (const char* malformed : {"", "k[", "unknown:k", "/v:VMAP/:A", "count(", "//k[unknown()]", "\xff"})
    EXPECT_EQ(root.XPath(malformed), nullptr) << malformed;
  EXPECT_EQ(root.firstChildWithXPath("//k[@id]")->stringValue(), "one");
  EXPECT_EQ(root.objectAtIndexedSubscript(2).description(), "<n>7</n>") << "queries leave the tree as it is";

  const auto enumerator = root.XPath("//k");
  for (const char* text : {"one", "two", "three"}) EXPECT_EQ(enumerator->nextObject()->stringValue(), text);
  EXPECT_EQ(enumerator->nextObject(), std::nullopt);
  EXPECT_EQ(enumerator->allObjects().size(), 3u);
  EXPECT_EQ(enumerator->objectAtIndex(3), std::nullopt);

  std::string seen;
  document->enumerateElementsWithXPath("//k", [&](const Element& k, std::size_t index, bool& stop) {
    seen += std::to_string(index) + k.stringValue() + " ";
    stop = index == 1;
  });
  document->enumerateElementsWithXPath("v:A/k", [&](const Element& k) { seen += k.stringValue() + " "; });
  document->enumerateElementsWithXPath("//k", Document::ElementBlock());
  EXPECT_EQ(seen, "0one 1two one two three ");

  EXPECT_EQ(root.functionResultByEvaluatingXPath("count(//k)")->numericValue, 3);
  EXPECT_TRUE(root.functionResultByEvaluatingXPath("n > 6")->boolValue);
  EXPECT_THAT(root.functionResultByEvaluatingXPath("string(n)")->stringValue, Optional(std::string("7")));
  EXPECT_EQ(root.functionResultByEvaluatingXPath("//k")->stringValue, std::nullopt);
  EXPECT_FALSE(root.functionResultByEvaluatingXPath("k["));
}

TEST(TarnLumoONOXMLDocumentTest, ResolvesPrefixesByTheOutermostDefinition) {
  const auto document = parse(
      "<r xmlns:p='urn:out' xmlns='urn:d'><m xmlns:p='urn:in' xmlns:q='urn:q'><p:x>in</p:x><q:x>q</q:x></m>"
      "<p:x>out</p:x></r>");
  const Element root = *document->rootElement();
  const Element inner = root.children()[0];
  EXPECT_THAT(matches(inner, "//p:x"), ElementsAre("out"));
  EXPECT_EQ(inner.firstChildWithXPath("p:x"), std::nullopt);
  EXPECT_THAT(matches(inner, "q:x"), ElementsAre("q"));
  EXPECT_THAT(matches(root, "//q:x"), ElementsAre("null")) << "defined further in";
  EXPECT_THAT(matches(root, "/r"), ElementsAre("null")) << "a default namespace has no prefix";
  document->definePrefix("d", "urn:d");
  EXPECT_THAT(matches(inner, "/d:r/p:x"), ElementsAre("out"));
  EXPECT_EQ(document->firstChildWithXPath("/d:r/d:m"), inner);
  document->definePrefix("e", "urn:d");
  EXPECT_EQ(document->firstChildWithXPath("/d:r"), std::nullopt);
  EXPECT_EQ(document->firstChildWithXPath("/e:r/e:m"), inner);
}

TEST(TarnLumoONOXMLDocumentTest, WalksPlainPathsAsTheXPathEngineWould) {
  const auto document = parse(
      "<v:VMAP xmlns:v='urn:v' xmlns:w='urn:w'><v:A>1</v:A><w:A>2</w:A><A>3<v:B>4</v:B></A><v:A>5<v:B>6</v:B>"
      "<A xmlns='urn:d'>7</A></v:A><v:VMAP>8</v:VMAP><!-- A --></v:VMAP>");
  const Element root = *document->rootElement();
  const std::vector<Element> contexts = {root, root.children()[2], root.children()[3], *root.parent(),
                                         *root.children()[0].XPath("text()")->nextObject()};
  for (const char* expression :
       {"v:A", "./v:A", "A", "/v:VMAP/v:A", "/v:VMAP", "./v:A/v:B | ./A/v:B", "./A | ./w:A | ./v:A | ./A/v:B",
        "v:A/A", "/A", "x:A", "A | x:A", "xml:A", "/v:VMAP/A|/v:VMAP/w:A", "/v:VMAP/v:A | v:B",
        "v:B | /v:VMAP/w:A", " ./A ", "v:VMAP", "text", "div/mod"}) {
    for (const Element& context : contexts) {
      std::vector<std::string> walked;
      context.enumerateElementsWithXPath(expression,
                                         [&](const Element& e) { walked.push_back(e.stringValue()); });
      if (walked.empty()) walked = {"null"};
      EXPECT_EQ(walked, matches(context, expression)) << expression << " at " << context.description();
      const auto first = context.firstChildWithXPath(expression);
      EXPECT_EQ(first ? first->stringValue() : "null", walked.front()) << expression;
    }
  }
}

TEST(TarnLumoONOXMLDocumentTest, RepairsMalformedDocumentsAndSaysWhere) {
  const auto cut = parse("<a>\n<b>text");
  EXPECT_EQ(cut->rootElement()->stringValue(), "\ntext");
  EXPECT_EQ(cut->faults().count, 1u);
  EXPECT_EQ(cut->faults().first[0].line, 2);
  EXPECT_TRUE(cut->faults().first[0].repaired);
  EXPECT_EQ(cut->faults().first[0].message, "Premature end of data in tag b line 2");

  EXPECT_EQ(parse("<a>\n<b>\n</c>\n</a>")->faults().first[0].line, 3) << "the first fault counts";
  const auto unbound = parse("<v:a/>");
  EXPECT_FALSE(unbound->faults().first[0].repaired);
  EXPECT_THAT(unbound->faults().first[0].message, HasSubstr("prefix v"));
  EXPECT_EQ(unbound->rootElement()->tag(), "v:a");
  const auto many = parse("<a>" + repeated("&x;", 100) + "</a>");
  EXPECT_EQ(many->faults().first.size(), 20u);
  EXPECT_GE(many->faults().count, 100u);
  EXPECT_EQ(parse("<a>ok \xff\xfe</a>")->rootElement()->stringValue(), "ok ÿþ");
}

TEST(TarnLumoONOXMLDocumentTest, RefusesBytesThatAreNoDocument) {
  for (const std::string& bytes :
       {std::string(), std::string("not xml"), std::string(" \n "), std::string("{}"), std::string(8, '\0'),
        std::string("<?xml version='1.0'?><!-- c -->"),
        std::string("<?xml version='1.0' encoding='no-such'?><a/>")}) {
    SCOPED_TRACE(bytes);
    const auto document = Document::XMLDocumentWithData(bytes);
    ASSERT_FALSE(document);
    EXPECT_EQ(document.error().domain, "tarn.xml");
    EXPECT_NE(document.error().code, 0);
    EXPECT_THAT(document.error().failureReason, Optional(AllOf(Not(IsEmpty()), Not(EndsWith("\n")))));
  }
  EXPECT_EQ(refusal("not xml"), "Start tag expected, '<' not found");
  EXPECT_EQ(parse("<a/>")->faults().count, 0u) << "an old error is not reported again";
}

TEST(TarnLumoONOXMLDocumentTest, ReadsOtherEncodingsAndHTML) {
  using Encoding = TarnLumoONOStringEncoding;
  std::istringstream rows(
      "UTF-8 4 é ISO-8859-1 5 é csShiftJIS 8 語 windows-1252 12 € UTF-16 10 é ISO-8859-5 0x80000205 я "
      "ISO-8859-15 0x8000020f € koi8-r 0x80000a02 я GB18030 0x80000632 語 Big5 0x80000a03 語 "
      "EUC-KR 0x80000940 한 macintosh 30 é ISO-2022-JP 21 語 IBM1047 0xc0000417 é ibm-1047-s390 0xc1000417 "
      "é");
  std::uint64_t code = 0;
  for (std::string name, text; rows >> name >> std::setbase(0) >> code >> text;) {
    SCOPED_TRACE(name);
    EXPECT_EQ(static_cast<std::uint64_t>(tarn::encodingNamed(name)), code);
    EXPECT_TRUE(tarn::bytesOfText(text, Encoding(code)));
    if (code > 0xc0000000) continue;  // libxml2 takes EBCDIC for another of its kind
    const auto document = Document::XMLDocumentWithString(
        "<?xml version='1.0' encoding='" + name + "'?><a x='" + text + "'>" + text + "</a>", Encoding(code));
    ASSERT_TRUE(document);
    EXPECT_EQ((*document)->rootElement()->stringValue(), text);
    EXPECT_EQ(static_cast<std::uint64_t>((*document)->stringEncoding()), code);
  }
  EXPECT_EQ(static_cast<std::uint64_t>(tarn::encodingNamed("no-such")), 0u);
  EXPECT_FALSE(tarn::bytesOfText("", Encoding(0)));
  for (const char* text : {"é", "\xff"}) EXPECT_FALSE(tarn::bytesOfText(text, Encoding::ASCII));
  EXPECT_EQ(parse("\xef\xbb\xbf<a>b</a>")->rootElement()->stringValue(), "b");

  const auto html = Document::HTMLDocumentWithString("<p class='a b'>x<br>y<p id=z>w", Encoding::UTF8);
  ASSERT_TRUE(html);
  EXPECT_EQ((*html)->rootElement()->tag(), "html");
  EXPECT_EQ((*html)->firstChildWithCSS("p.b")->stringValue(), "xy");
  EXPECT_EQ((*html)->CSS("#z")->nextObject()->stringValue(), "w");
  std::string seen;
  (*html)->enumerateElementsWithCSS("p", [&](const Element& p) { seen += p.stringValue() + " "; });
  EXPECT_EQ(seen, "xy w ");
}

TEST(TarnLumoONOXMLDocumentTest, PrintsNothingAndKeepsTheHandlersOfTheApplication) {
  int calls = 0;
  const auto count = [](void* counter, xmlError*) { ++*static_cast<int*>(counter); };
  xmlSetStructuredErrorFunc(&calls, count);
  for (const std::string name : {"windows-1252", "EUC-JP", "GB18030"}) {
    const std::string declaration = "<?xml version='1.0' encoding='" + name + "'?>";
    internal::CaptureStderr();
    const auto document = parse(declaration + "<a>1<b/>\x81\xff</a>");
    EXPECT_EQ(document->XPath("unknown()"), nullptr);
    EXPECT_TRUE(
        Document::HTMLDocumentWithData("<meta charset='" + name + "'><p a=1 a=2>\x81\xff</b>&x;<!DOCTYPE"));
    EXPECT_EQ(internal::GetCapturedStderr(), "") << name;
    EXPECT_EQ(document->rootElement()->tag(), "a") << name;
  }
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(xmlStructuredError, +count);
  EXPECT_EQ(xmlStructuredErrorContext, &calls);
  xmlSetStructuredErrorFunc(nullptr, nullptr);
}

TEST(TarnLumoONOXMLDocumentTest, FetchesNothing) {
  const auto file = std::filesystem::temp_directory_path() / ("secret-" + std::to_string(::getpid()));
  std::ofstream(file) << "<!ENTITY leak 'secret'>secret";
  const tarn::test::LoopbackServer server([](auto&) {});
  const std::string url = server.url("/x.dtd").absoluteString();
  for (const std::string& source : {file.string(), "file://" + file.string(), url}) {
    for (const std::string& type :
         {"<!DOCTYPE r SYSTEM '" + source + "'>", "<!DOCTYPE r [<!ENTITY leak SYSTEM '" + source + "'>]>",
          "<!DOCTYPE r [<!ENTITY % all SYSTEM '" + source + "'> %all;]>"}) {
      SCOPED_TRACE(type);
      const auto document =
          parse(type + "<r a='&leak;' xmlns:xi='http://www.w3.org/2001/XInclude'>&leak;<xi:include href='" +
                source + "' parse='text'/></r>");
      const Element root = *document->rootElement();
      EXPECT_THAT(root.stringValue() + root.valueForAttribute("a").value_or(""), Not(HasSubstr("secret")));
      EXPECT_EQ(root.functionResultByEvaluatingXPath("contains(string(/), 'secret')")->boolValue, false);
      EXPECT_FALSE(root.functionResultByEvaluatingXPath("document('" + source + "')"));
    }
  }
  EXPECT_EQ(server.connections(), 0);
  std::filesystem::remove(file);
}

TEST(TarnLumoONOXMLDocumentTest, RefusesEntitiesThatExpandAboveTheLimits) {
  std::string nested = "<!DOCTYPE r [<!ENTITY e0 'lollollollol'>";
  for (int i = 1; i < 12; ++i) {
    const std::string ten = repeated("&e" + std::to_string(i - 1) + ";", 10);
    nested += "<!ENTITY e" + std::to_string(i) + " '" + ten + "'>";
  }
  const std::string big = "<!DOCTYPE r [<!ENTITY b '" + std::string(60'000, 'x') + "'>]>";
  const std::string loop = "<!DOCTYPE r [<!ENTITY a '&b;'><!ENTITY b '&a;'>]>";
  EXPECT_THAT(refusal(big + "<r>" + repeated("&b;", 1'000) + "</r>"), HasSubstr("entit"));
  EXPECT_THAT(refusal(big + "<r>" + repeated("<c a='&b;'/>", 1'000) + "</r>"), HasSubstr("entit"));
  EXPECT_EQ(parse(big + "<r>&b;</r>")->rootElement()->stringValue().size(), 60'000u);
  for (const std::string& text :
       {nested + "]><r>&e11;</r>", nested + "]><r a='&e11;'/>", nested + "]><r>&e4;&e11;</r>",
        loop + "<r>&a;</r>", loop + "<r a='&a;'/>"}) {
    const auto document = Document::XMLDocumentWithData(text);
    if (!document) continue;
    const Element root = *(*document)->rootElement();
    EXPECT_GT((*document)->faults().count, 0u) << text;
    EXPECT_LE(root.stringValue().size() + root.valueForAttribute("a").value_or("").size(), 1u << 20U) << text;
  }
}

TEST(TarnLumoONOXMLDocumentTest, BoundsDepthAndTheSizeOfTags) {
  for (const std::size_t depth : {1'000u, 100'000u}) {
    const auto document = parse(repeated("<a>", depth) + repeated("</a>", depth));
    EXPECT_THAT(document->faults().first[0].message, HasSubstr("depth"));
    EXPECT_LE(document->functionResultByEvaluatingXPath("count(//a)")->numericValue, 300);
    EXPECT_FALSE(document->archive().rootElement->children.empty());
  }
  std::string attributes = "<r><a";
  std::string namespaces = "<r><a";
  for (int i = 0; i < 100'000; ++i) attributes += " a" + std::to_string(i) + "=''";
  for (int i = 0; i < 100; ++i) namespaces += "\txmlns:a" + std::to_string(i) + "=\"u\"";
  const auto declaration = [](const std::string& encoding) {
    return "<?xml version='1.0' encoding='" + encoding + "'?>";
  };
  using Encoding = TarnLumoONOStringEncoding;
  // libxml2 reads this much in the encoding of the byte order mark, and the rest in the declared one.
  const std::string latinAsUTF16 =
      *tarn::bytesOfText("<?xml version='1.0' encoding='ISO-8859-1'  ?>", Encoding::UTF16);
  const std::pair<std::string, const char*> rows[] = {
      {"\n" + attributes + "/></r>", "tag at line 2"},
      {namespaces + "/></r>", "namespace"},
      {declaration("UTF-7") + attributes + "/></r>", "500 attributes"},
      {*tarn::bytesOfText(declaration("UTF-16") + attributes + "/></r>", Encoding::UTF16), "500 attributes"},
      {"\xef\xbb\xbf" + declaration("UTF-7") + "<r>+ADw-a" + repeated(" b+AD0AJwAn-", 501), "500 attributes"},
      {latinAsUTF16 + attributes + "/></r>", "500 attributes"},
      {"<!DOCTYPE r [<!ENTITY e \"&#60;a" + repeated(" b=''", 501) + "/>\">]><r>&e;</r>", "500 attributes"},
      {"<!DOCTYPE r [<!ATTLIST r a (x" + repeated("|x", 3'000) + ") #IMPLIED>]><r/>", "attribute list"},
      {"<!DOCTYPE r [<!ATTLIST r" + repeated(" a ID #IMPLIED", 101) + ">]><r/>", "100 attributes"},
      {"<!DOCTYPE r [" + repeated("<!ATTLIST r a CDATA ''>", 17) + "]><r/>", "default"},
      {"<!DOCTYPE r [<!ATTLIST r a CDATA '" + std::string(257, 'x') + "'>]><r/>", "default"},
      {"<!DOCTYPE r [<!ENTITY % p '<!---->'>" + repeated("%p;", 1'000) + "]><r/>", "parameter entities"},
      {"<r>" + repeated(namespaces.substr(3, namespaces.find("a49") - 10) + ">", 6), "in scope"}};
  for (const auto& [bytes, reason] : rows) EXPECT_THAT(refusal(bytes), HasSubstr(reason));
  for (const std::string& tag : {"<p" + repeated(" b", 2'001), "<p " + repeated("b='<'", 2'001),
                                 "<meta charset='utf-7'><p" + repeated("+ACA-b", 2'001)})
    EXPECT_FALSE(Document::HTMLDocumentWithData(tag + "><b>")) << tag.substr(0, 40);
  const std::string text = repeated("a='1' ", 5'000) + "<![CDATA[" + repeated("<a b='1' ", 5'000) + "]]>";
  EXPECT_EQ(parse("<r>" + text + "</r>")->faults().count, 0u) << "text is no tag";
  const auto wide = parse("<r>" + repeated("<a/>", 5'000) + "</r>");
  EXPECT_EQ(wide->XPath("//a[count(//a[count(//a) > 1]) > 1]"), nullptr)
      << "a query that would take minutes ends";
  EXPECT_EQ(wide->XPath("//a/following-sibling::a"), nullptr);
}

TEST(TarnLumoONOXMLDocumentTest, DistinguishesUTF8FromOtherBytes) {
  const std::string padding(70, 'x');
  for (const char* text : {"", "plain", "é", "\u0800", "\u0fff", "\U0010ffff"}) {
    EXPECT_TRUE(tarn::isUTF8(padding + text)) << text;
    EXPECT_EQ(tarn::repairedUTF8(text), text);
  }
  for (const char* bytes : {"\x80", "\xc3", "\xc0\xaf", "\xe0\x80\x80", "\xed\xa0\x80", "\xf0\x80\x80\x80",
                            "\xf4\x90\x80\x80", "\xff", "\xe2\x82", "\xf0\x9f\x98x"}) {
    EXPECT_FALSE(tarn::isUTF8(bytes + padding));
    EXPECT_FALSE(tarn::isUTF8(padding + bytes));
    EXPECT_TRUE(tarn::isUTF8(tarn::repairedUTF8(bytes)));
  }
}

TEST(TarnLumoONOXMLDocumentTest, ClipsTextBetweenCharactersWhereMoreFollows) {
  const std::string eighty(80, 'x');
  EXPECT_EQ(tarn::clippedText("a" + std::string(1'278, ' ') + "é"), "a é");
  EXPECT_EQ(tarn::clippedText("a" + std::string(1'278, ' ') + eighty), "a " + eighty.substr(2) + "…");
  EXPECT_EQ(tarn::clippedText(" " + eighty + "\n"), eighty);
  EXPECT_EQ(tarn::clippedText(eighty.substr(1) + "é"), eighty.substr(1) + "…");
}

TEST(TarnLumoONOXMLDocumentTest, TranslatesSelectorsToXPath) {
  const std::pair<const char*, const char*> rows[] = {
      {"*", ".//*"},
      {"div > *", ".//div//*"},
      {"a > b c", ".//a/b/descendant::c"},
      {"ab#c é#d", ".//ab[@id = 'c']/descendant::é"},
      {".b.c",
       ".//*[contains(concat(' ',normalize-space(@class),' '),' b ')]"
       "*[contains(concat(' ',normalize-space(@class),' '),' c ')]"},
      {"div + p", ".//div/following-sibling::*[1]/self::p"},
      {"div ~ p", ".//div/following-sibling::p"},
      {"a#main.b", ".//a[@id = 'main'][contains(concat(' ',normalize-space(@class),' '),' b ')]"},
      {"ul li, ol li", ".//ul/descendant::li | .//ol/descendant::li"},
      {"[type]", ".//[@type]"},
      {"div #x", ".//div/descendant::"},
      {"#x div.y",
       ".//*[@id = 'x']/descendant::div[@id = 'i'][contains(concat(' ',normalize-space(@class),' '),' y ')]"},
      {"#x #yy", ".//*[@id = 'x']/descendant::*[@id = 'y']"},
      {"div > * p", ".//div//*/p"},
      {"a  b", ".//a/descendant::/descendant::b"},
      {" a\t", ".//a"},
      {",a,,b", ".//a | .//b"},
      {"é#ü", ".//é[@id = 'ü']"},
      {"", ""}};
  for (const auto& [selector, xpath] : rows) EXPECT_EQ(TarnLumoONOXPathFromCSS(selector), xpath) << selector;
}

}  // namespace
