#include "kerf/core/object.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "kerf/core/smart_pointer.h"
#include "kerf/platform/sinks.h"

namespace kerf {
namespace {

// A family with a diamond: Leaf derives from Left and Right, which share one Node.
class Node : public ERObject {
    ER_OBJECT_CLASS(Node);

public:
    explicit Node(int number = 0) : value(number) { ++alive; }
    Node(Node const& other) : ERObject(other), value(other.value) { ++alive; }
    Node& operator=(Node const&) = default;
    ~Node() override { --alive; }
    ERObject* getCopy() const override { return new Node(*this); }
    void printOn(std::ostream& os) const override { os << "node " << value; }
    int isValid() const override { return value >= 0; }

    int value;
    static inline int alive = 0;
};

class Left : public virtual Node {
    ER_OBJECT_CLASS(Left);

public:
    double left = 1.0;
};

class Right : public virtual Node {
    ER_OBJECT_CLASS(Right);

public:
    double right = 2.0;
};

class Leaf : public Left, public Right {
    ER_OBJECT_CLASS(Leaf);

public:
    Node member;  // constructed while the leaf's own memory is already claimed
};

class Abstract : public Node {
    ER_OBJECT_CLASS(Abstract);

public:
    virtual void open() = 0;
};

ER_DEFINE_CLASS(Node, ERObject)
ER_DEFINE_CLASS(Left, Node)
ER_DEFINE_CLASS(Right, Node)
ER_DEFINE_CLASS(Leaf, Left, Right)
ER_DEFINE_ABSTRACT_CLASS(Abstract, Node)

TEST(ERReference, CountsOwnersAndTellsTheLastOne) {
    ERReference count;
    EXPECT_EQ(count.references(), 0u);
    count.addReference();
    count.addReference();
    EXPECT_EQ(count.references(), 2u);
    EXPECT_NE(count.removeReference(), 0u);
    EXPECT_EQ(count.removeReference(), 0u);
    EXPECT_EQ(count.references(), 0u);
    const ERReference three(3);
    count = three;
    EXPECT_EQ(count.references(), 3u);
}

TEST(ClassRegistry, FindsClassesAndCreatorsByExactName) {
    EXPECT_EQ(ERClassRegistration::findClassRegistration("Leaf"), Leaf::desc());
    EXPECT_EQ(ERClassRegistration::findClassRegistration("leaf"), nullptr);
    EXPECT_EQ(ERClassRegistration::findClassRegistration(""), nullptr);
    EXPECT_EQ(ERClassRegistration::findCreator("Abstract"), nullptr);
    EXPECT_EQ(ERClassRegistration::findCreator("NoSuchClass"), nullptr);
    const auto creator = ERClassRegistration::findCreator("Leaf");
    ASSERT_NE(creator, nullptr);
    const t_SmartPtr<ERObject> built(creator());
    EXPECT_STREQ(built->className(), "Leaf");
    EXPECT_EQ(Leaf::desc()->size, sizeof(Leaf));
}

TEST(ClassRegistry, AnswersTheKindThroughEveryBase) {
    const Leaf leaf;
    for (ERClassRegistration const* kind :
         {Leaf::desc(), Left::desc(), Right::desc(), Node::desc(), ERObject::desc()})
        EXPECT_EQ(leaf.isKindOf(kind), 1) << kind->name;
    EXPECT_EQ(leaf.isKindOf(Abstract::desc()), 0);
    EXPECT_EQ(leaf.isMemberOf(Leaf::desc()), 1);
    EXPECT_EQ(leaf.isMemberOf(Node::desc()), 0);
}

TEST(ClassRegistry, ADescriptorOfAProgramJoinsAndLeavesTheChain) {
    ERClassRegistration const* const formerFirst = ERClassRegistration::pFirstClass;
    {
        ERClassRegistration const* bases[] = {ERObject::desc(), nullptr};
        ERClassRegistration const* members[] = {nullptr};
        const ERClassRegistration own("OwnClass", 12, bases, members, nullptr);
        EXPECT_EQ(ERClassRegistration::pFirstClass, &own);
        EXPECT_EQ(ERClassRegistration::findClassRegistration("OwnClass"), &own);
        const ERClassRegistration copy(own);
        EXPECT_EQ(copy.name, nullptr);
        EXPECT_EQ(copy.bases, nullptr);
        EXPECT_EQ(ERClassRegistration::pFirstClass, &own);
    }
    EXPECT_EQ(ERClassRegistration::pFirstClass, formerFirst);
    EXPECT_EQ(ERClassRegistration::findClassRegistration("OwnClass"), nullptr);
}

TEST(ClassRegistry, DumpsTheTreeOfBases) {
    std::string text;
    setDebugTextSink([](char const*) {});  // takes what came before
    setDebugTextSink([&](char const* part) { text += part; });
    Leaf::desc()->DumpBased(0);
    setDebugTextSink(nullptr);
    EXPECT_EQ(text,
              "\t+------->Left\n\t\t+------->Node\n\t\t\t+------->ERObject\n"
              "\t+------->Right\n\t\t+------->Node\n\t\t\t+------->ERObject\n");
}

TEST(Casts, AnswerThePartOfTheObjectOrNull) {
    Leaf leaf;
    ERObject* const root = &leaf;
    EXPECT_EQ(Leaf::castdown(root), &leaf);
    EXPECT_EQ(Right::castdown(root), static_cast<Right*>(&leaf));
    EXPECT_EQ(Left::castdown(root), static_cast<Left*>(&leaf));
    EXPECT_EQ(Node::castdown(root), static_cast<Node*>(&leaf));
    EXPECT_EQ(&Right::castdown(*root), static_cast<Right*>(&leaf));
    EXPECT_EQ(ERObject::castdown(root), root);
    EXPECT_EQ(Abstract::castdown(root), nullptr);
    EXPECT_EQ(Leaf::castdown(static_cast<ERObject*>(nullptr)), nullptr);
    EXPECT_EQ(ERObject::castdown(static_cast<ERObject*>(nullptr)), nullptr);
    Node node;
    EXPECT_EQ(Leaf::castdown(static_cast<ERObject*>(&node)), nullptr);
}

TEST(ERObject, KnowsWhetherItsOwnNewBuiltIt) {
    const std::unique_ptr<Leaf> onHeap(new Leaf);
    EXPECT_EQ(onHeap->isOnTheHeap(), 1);
    EXPECT_EQ(onHeap->member.isOnTheHeap(), 0);
    const std::unique_ptr<Node> argumentIsTemporary(new Node(Node(7)));
    EXPECT_EQ(argumentIsTemporary->isOnTheHeap(), 1);
    EXPECT_EQ(argumentIsTemporary->value, 7);
    const Node automatic;
    EXPECT_EQ(automatic.isOnTheHeap(), 0);
    const std::vector<Node> elements(3);
    EXPECT_EQ(elements[1].isOnTheHeap(), 0);
    const std::unique_ptr<ERObject> copy(automatic.getCopy());
    EXPECT_EQ(copy->isOnTheHeap(), 1);
}

TEST(ERObject, MemoryThatWasNeverAnObjectLeavesNoMark) {
    for (int i = 0; i < 100; ++i) ERObject::operator delete(ERObject::operator new(sizeof(Node)));
    alignas(Node) std::byte memory[sizeof(Node)];
    Node* const placed = ::new (memory) Node;
    EXPECT_EQ(placed->isOnTheHeap(), 0);
    placed->~Node();
}

TEST(ERObject, WithoutADatabaseNothingCanBeSavedLoadedOrDeleted) {
    Node node;
    EXPECT_EQ(node.getObjectID(), -1);
    EXPECT_EQ(node.Database(), nullptr);
    EXPECT_EQ(node.Save(nullptr), 0);
    EXPECT_EQ(node.Delete(), 0);
    EXPECT_EQ(node.Load(-1, nullptr), 0);
    EXPECT_EQ(node.Load(3, nullptr), 0);
    EXPECT_EQ(node.isDirty(), 0);
    node.setDirty();
    EXPECT_EQ(node.isDirty(), 1);
    Node other(5);
    node = other;
    EXPECT_EQ(node.isDirty(), 0);
}

TEST(ERObject, AssignmentLeavesTheOwnersAlone) {
    const t_SmartPtr<Node> first(new Node(1));
    const t_SmartPtr<Node> second(first);
    *first = Node(9);
    EXPECT_EQ(first->references(), 2u);
    EXPECT_EQ(second->value, 9);
}

TEST(ERObject, DumpNamesTheClassAndPrints) {
    std::string text;
    setDebugTextSink([](char const*) {});
    setDebugTextSink([&](char const* part) { text += part; });
    CDumpContext context;
    Node(4).Dump(context);
    setDebugTextSink(nullptr);
    EXPECT_EQ(text, "ERObject which is a Node\nE : Node\nnode 4");
}

TEST(ERObject, AnInvalidObjectStopsNothing) {
    Node(-1).assertValid("file", 1);
    ER_assert(std::string(1000, 'x').c_str(), "file", 1);
}

TEST(ERObject, ThePlatformSeesAFlatHierarchy) {
    const Leaf leaf;
    CRuntimeClass* const record = leaf.GetRuntimeClass();
    EXPECT_STREQ(record->name, "Leaf");
    EXPECT_EQ(record->objectSize, static_cast<int>(sizeof(Leaf)));
    EXPECT_EQ(record->schema, 0xFFFFu);
    EXPECT_EQ(Leaf::_GetBaseClass(), CObject::GetThisClass());
}

TEST(SmartPointer, DeletesOnceWithTheLastOwner) {
    const int before = Node::alive;
    {
        t_SmartPtr<Node> first(new Node(1));
        {
            const t_SmartPtr<Node> second = first;
            const t_SmartPtr<ERObject> base = first;
            EXPECT_EQ(first->references(), 3u);
            EXPECT_TRUE(second == first);
            EXPECT_TRUE(base == first.getObject());
        }
        EXPECT_EQ(first->references(), 1u);
        Node* const held = first;
        first = held;
        EXPECT_EQ(first->references(), 1u);
        t_SmartPtr<Node> const& itself = first;
        first = itself;
        EXPECT_EQ(first->references(), 1u);
        EXPECT_EQ(Node::alive, before + 1);
    }
    EXPECT_EQ(Node::alive, before);
}

struct Chain : Node {
    t_SmartPtr<Chain> child;
};

TEST(SmartPointer, AssigningAPartOfWhatIsHeldIsSafe) {
    t_SmartPtr<Chain> list(new Chain);
    list->child = new Chain;
    list->child->value = 2;
    list = list->child;
    EXPECT_EQ(list->value, 2);
    EXPECT_EQ(list->references(), 1u);
}

TEST(SmartPointer, OfAValueHoldsACopyWithoutIdentity) {
    Node node(6);
    node.setDirty();
    const t_SmartPtr<Node> copy(node);
    EXPECT_NE(copy.getObject(), &node);
    EXPECT_EQ(copy->value, 6);
    EXPECT_EQ(copy->isDirty(), 0);
    EXPECT_EQ(copy->getObjectID(), -1);
}

TEST(SmartPointer, ReachesTheCountThroughAVirtualBase) {
    const int before = Node::alive;
    {
        const t_SmartPtr<Leaf> leaf(new Leaf);
        const t_SmartPtr<Right> right(leaf);
        EXPECT_EQ(right->references(), 2u);
    }
    EXPECT_EQ(Node::alive, before);
}

TEST(SmartPointer, PrintsWhatItHolds) {
    std::ostringstream text;
    t_SmartPtr<ERObject> none;
    none.printOn(text);
    EXPECT_TRUE(!none);
    const t_SmartPtr<ERObject> held(new Node(3));
    held.printOn(text);
    EXPECT_EQ(text.str(),
              "A Pointer to a ERObject (NULL) \n"
              "A Pointer to a ERObject( Node ) with 1 references\nnode 3");
}

}  // namespace
}  // namespace kerf
