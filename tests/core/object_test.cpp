#include "kerf/core/object.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

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
    double left = 1.0;
};

class Right : public virtual Node {
    ER_OBJECT_CLASS(Right);
    double right = 2.0;
};

class Leaf : public Left, public Right {
    ER_OBJECT_CLASS(Leaf);
    Node member;  // constructed while the leaf's own memory is already claimed
};

class Abstract : public Node {
    ER_OBJECT_CLASS(Abstract);
    virtual void open() = 0;
};

ER_DEFINE_CLASS(Node, ERObject)
ER_DEFINE_CLASS(Left, Node)
ER_DEFINE_CLASS(Right, Node)
ER_DEFINE_CLASS(Leaf, Left, Right)
ER_DEFINE_ABSTRACT_CLASS(Abstract, Node)

TEST(ClassRegistry, FindsClassesAndCreatorsByExactName) {
    EXPECT_EQ(ERClassRegistration::findClassRegistration("Leaf"), Leaf::desc());
    for (const char* name : {"leaf", "", "Abstract"})
        EXPECT_EQ(ERClassRegistration::findCreator(name), nullptr) << name;
    const auto creator = ERClassRegistration::findCreator("Leaf");
    const t_SmartPtr<ERObject> built(creator());
    for (const auto* kind : {Leaf::desc(), Right::desc(), Node::desc(), ERObject::desc()})
        EXPECT_EQ(built->isKindOf(kind), 1) << kind->name;
    EXPECT_EQ(built->isKindOf(Abstract::desc()) + built->isMemberOf(Node::desc()), 0);
    EXPECT_EQ(Leaf::_GetBaseClass(), CObject::GetThisClass());  // a flat hierarchy
}

TEST(ClassRegistry, ADescriptorOfAProgramJoinsAndLeavesTheChain) {
    ERClassRegistration const* const formerFirst = ERClassRegistration::pFirstClass;
    {
        ERClassRegistration const* bases[] = {ERObject::desc(), nullptr};
        const ERClassRegistration own("OwnClass", 12, bases, bases + 1, nullptr);
        EXPECT_EQ(ERClassRegistration::findClassRegistration("OwnClass"), &own);
        EXPECT_EQ(ERClassRegistration(own).name, nullptr);  // a copy is no class
        EXPECT_EQ(ERClassRegistration::pFirstClass, &own);
    }
    EXPECT_EQ(ERClassRegistration::pFirstClass, formerFirst);
}

TEST(ClassRegistry, DumpsTheTreeOfBasesAndObjectsPrint) {
    std::string text;
    setDebugTextSink([&](char const* part) { text += part; });
    text.clear();  // of what came before
    Leaf::desc()->DumpBased(0);
    CDumpContext context;
    Node(4).Dump(context);
    setDebugTextSink(nullptr);
    std::ostringstream printed;
    t_SmartPtr<ERObject>().printOn(printed);
    t_SmartPtr<ERObject>(new Node(3)).printOn(printed);
    EXPECT_EQ(printed.str(),
              "A Pointer to a ERObject (NULL) \n"
              "A Pointer to a ERObject( Node ) with 1 references\nnode 3");
    EXPECT_EQ(text,
              "\t+------->Left\n\t\t+------->Node\n\t\t\t+------->ERObject\n"
              "\t+------->Right\n\t\t+------->Node\n\t\t\t+------->ERObject\n"
              "ERObject which is a Node\nE : Node\nnode 4");
}

TEST(Casts, AnswerThePartOfTheObjectOrNull) {
    Leaf leaf;
    ERObject& root = leaf;
    EXPECT_EQ(&Right::castdown(root), static_cast<Right*>(&leaf));
    EXPECT_EQ(Abstract::castdown(&root), nullptr);
    EXPECT_EQ(Leaf::castdown(static_cast<ERObject*>(&leaf.member)), nullptr);
}

TEST(ERObject, KnowsWhetherItsOwnNewBuiltIt) {
    const t_SmartPtr<Leaf> onHeap(new Leaf);
    const t_SmartPtr<Node> argumentIsTemporary(new Node(Node(7)));
    EXPECT_TRUE(onHeap->isOnTheHeap() && argumentIsTemporary->isOnTheHeap());
    EXPECT_FALSE(onHeap->member.isOnTheHeap());
    // Memory that was never an object leaves no mark.
    for (int i = 0; i < 100; ++i) ERObject::operator delete(ERObject::operator new(sizeof(Node)));
    const std::vector<Node> elements(3);
    const t_SmartPtr<ERObject> copy(elements[1].getCopy());
    EXPECT_TRUE(copy->isOnTheHeap() && !elements[1].isOnTheHeap());
}

TEST(ERObject, WithoutADatabaseNothingCanBeSavedLoadedOrDeleted) {
    Node node;
    EXPECT_EQ(node.Save(nullptr) + node.Delete() + node.Load(3, nullptr), 0);
    node.setDirty();
    node = Node(5);
    EXPECT_EQ(node.isDirty(), 0);
    Node(-1).assertValid("file", 1);  // stops nothing
    ER_assert(std::string(1000, 'x').c_str(), "file", 1);
}

TEST(SmartPointer, DeletesOnceWithTheLastOwner) {
    const int before = Node::alive;
    {
        t_SmartPtr<Node> first(new Leaf);  // reaches the count through a virtual base
        const t_SmartPtr<Node> second = first;
        const t_SmartPtr<ERObject> base = first;
        *first = Node(9);  // assignment leaves the owners alone
        EXPECT_TRUE(second == first && second->value == 9 && base == first.getObject());
        first = first.getObject();
        EXPECT_EQ(first->references(), 3u);
    }
    EXPECT_EQ(Node::alive, before);
}

TEST(SmartPointer, AssigningAPartOfWhatIsHeldIsSafe) {
    struct Chain : Node {
        t_SmartPtr<Chain> child;
    };
    t_SmartPtr<Chain> list(new Chain);
    list->child = new Chain;
    list->child->value = 2;
    list = list->child;
    EXPECT_TRUE(list->value == 2 && list->references() == 1);
    list->setDirty();
    const t_SmartPtr<Node> copy(static_cast<Node&>(*list));  // of a value: without identity
    EXPECT_TRUE(copy.getObject() != list.getObject() && copy->value == 2 && copy->isDirty() == 0);
}

}  // namespace
}  // namespace kerf
