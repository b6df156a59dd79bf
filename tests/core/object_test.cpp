#include "kerf/core/object.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "kerf/core/smart_pointer.h"
#include "kerf/platform/sinks.h"

namespace kerf {
namespace {

// A family with a diamond: Leaf derives from Left and Right, which share one Node.
class Node : public ERObject {
    ER_OBJECT_CLASS(Node);
    explicit Node(int number = 0) : value(number) { ++alive; }
    Node(const Node& other) : ERObject(other), value(other.value) { ++alive; }
    Node& operator=(const Node&) = default;
    ~Node() override { --alive; }
    ERObject* getCopy() const override { return new Node(*this); }
    void printOn(std::ostream& os) const override { os << "node " << value; }

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
    EXPECT_EQ(built->isKindOf(Right::desc()) + built->isKindOf(ERObject::desc()), 2);
    EXPECT_EQ(built->isKindOf(Abstract::desc()) + built->isMemberOf(Node::desc()), 0);
    EXPECT_EQ(Leaf::_GetBaseClass(), CObject::GetThisClass());  // a flat hierarchy
    Leaf leaf;
    ERObject& root = leaf;
    EXPECT_EQ(&Right::castdown(root), static_cast<Right*>(&leaf));  // the part of the object
    EXPECT_EQ(Right::castdown(nullptr), nullptr);
}

TEST(ClassRegistry, MembersAreFollowedDown) {
    const auto describe = [](const ERClassRegistration** members) {
        return ERClassRegistration(ERClassRegistration::Unlinked{}, "any", 1, nullptr, members,
                                   nullptr);
    };
    const ERClassRegistration* none[] = {nullptr};
    const ERClassRegistration inner(describe(none)), other(describe(none));
    const ERClassRegistration* innerAlone[] = {&inner, nullptr};
    const ERClassRegistration middle(describe(innerAlone));
    const ERClassRegistration* middleAlone[] = {&middle, nullptr};
    const ERClassRegistration outer(describe(middleAlone));
    EXPECT_EQ(outer.hasMember(&inner), 1);
    EXPECT_EQ(outer.hasMember(&other), 0);
}

TEST(ClassRegistry, ADescriptorIsOnTheChainAsLongAsItLives) {
    const auto find = [] { return ERClassRegistration::findClassRegistration("Passing"); };
    {
        const ERClassRegistration passing("Passing", 8, nullptr, nullptr, nullptr);
        EXPECT_EQ(find(), &passing);
        EXPECT_EQ(ERClassRegistration::pFirstClass, &passing);
        const ERClassRegistration copy(passing);
        EXPECT_EQ(copy.name, nullptr);
        EXPECT_EQ(find(), &passing);
    }
    EXPECT_EQ(find(), nullptr);
}

// Runs an action and returns the debug text that it writes.
template <class Action>
std::string debugTextOf(Action action) {
    std::string text;
    setDebugTextSink([](const char*) {});  // takes what was kept for the first sink
    setDebugTextSink([&text](const char* part) { text += part; });
    action();
    setDebugTextSink({});
    return text;
}

TEST(ClassRegistry, TwoClassesOfOneNameAreReported) {
    std::string told;
    setDebugTextSink([&](const char* text) { told += text; });
    told.clear();  // what was kept for the first sink
    const ERClassRegistration first("Twin", 8, nullptr, nullptr, nullptr);
    EXPECT_EQ(told, "");
    const ERClassRegistration second("Twin", 16, nullptr, nullptr, nullptr);
    setDebugTextSink(nullptr);
    EXPECT_NE(told.find("two classes are named Twin"), std::string::npos) << told;
    EXPECT_EQ(ERClassRegistration::findClassRegistration("Twin"), &second);
}

TEST(ClassRegistry, DumpsItsBasesIndentedByTheirDepth) {
    const auto dumped = [](int level) {
        return debugTextOf([level] { Right::desc()->DumpBased(level); });
    };
    EXPECT_EQ(dumped(-1), "+------->Node\n\t+------->ERObject\n");
    EXPECT_EQ(dumped(0), "\t+------->Node\n\t\t+------->ERObject\n");
}

TEST(ERObject, DumpsItsClassAndItsText) {
    EXPECT_EQ(debugTextOf([] {
                  CDumpContext context;
                  Node(7).Dump(context);
              }),
              "ERObject which is a Node\nE : Node\nnode 7");
}

TEST(ERObject, KnowsWhetherItsOwnNewBuiltIt) {
    const t_SmartPtr<Leaf> onHeap(new Leaf);
    const t_SmartPtr<Node> argumentIsTemporary(new Node(Node(7)));
    EXPECT_EQ(onHeap->isOnTheHeap(), 1);
    EXPECT_EQ(argumentIsTemporary->isOnTheHeap(), 1);
    EXPECT_FALSE(onHeap->member.isOnTheHeap());
    // Memory that was never an object leaves no mark.
    for (int i = 0; i < 100; ++i) ERObject::operator delete(ERObject::operator new(sizeof(Node)));
    const std::vector<Node> elements(3);
    const t_SmartPtr<ERObject> copy(elements[1].getCopy());
    EXPECT_EQ(copy->isOnTheHeap(), 1);
    EXPECT_EQ(elements[1].isOnTheHeap(), 0);
}

// Each argument of the construction is built between the allocation and the constructor of the next.
struct Nested : Node {
    Nested(const Nested* inner) : inner_(inner) {}
    std::unique_ptr<const Nested> inner_;
    static const Nested* chain(int depth) {
        return depth == 0 ? nullptr : new Nested(chain(depth - 1));
    }
};

TEST(ERObject, OfTooManyAllocationsAtOnceTheOldestAreForgotten) {
    const std::unique_ptr<const Nested> outermost(Nested::chain(40));
    std::vector<int> onTheHeap;
    for (const Nested* link = outermost.get(); link != nullptr; link = link->inner_.get())
        onTheHeap.push_back(link->isOnTheHeap());
    std::vector<int> wanted(40, 1);
    std::fill_n(wanted.begin(), 8, 0);
    EXPECT_EQ(onTheHeap, wanted);
}

TEST(ERObject, WithoutADatabaseNothingCanBeSavedLoadedOrDeleted) {
    Node node;
    EXPECT_EQ(node.Save(nullptr) + node.Delete() + node.Load(3, nullptr), 0);
    int place;
    auto* const database = reinterpret_cast<ERObjectDataBase*>(&place);  // its address alone counts
    EXPECT_EQ(node.Load(-1, database), 0);
    EXPECT_EQ(node.Load(3, database), 1);
    node.setDirty();
    node = Node(5);
    EXPECT_EQ(node.isDirty(), 0);
}

TEST(ERObject, AFailedConstructionLeavesNoHandOverToADatabase) {
    const auto failing = []() -> int { throw std::runtime_error("no number"); };
    int place;
    auto* const database = reinterpret_cast<ERObjectDataBase*>(&place);
    EXPECT_THROW(new (database) Node(failing()), std::runtime_error);
    EXPECT_EQ(ERObject::m_DatabaseForNextAllocation, nullptr);
    EXPECT_EQ(ERObject::m_NextAllocationOnDatabase, 0);
}

TEST(SmartPointer, DeletesOnceWithTheLastOwner) {
    const int before = Node::alive;
    {
        t_SmartPtr<Node> first(new Leaf);  // reaches the count through a virtual base
        const t_SmartPtr<Node> second = first;
        const t_SmartPtr<ERObject> base = first;
        *first = Node(9);  // assignment leaves the owners alone
        EXPECT_TRUE(second == first);
        EXPECT_TRUE(base == first.getObject());
        EXPECT_EQ(second->value, 9);
        first = first.getObject();
        EXPECT_EQ(first->references(), 3u);
    }
    EXPECT_EQ(Node::alive, before);
}

TEST(SmartPointer, ACastOfATemporaryOwns) {
    const int before = Node::alive;
    {
        const auto node = Node::castdown(t_SmartPtr<ERObject>(new Node(7)));
        EXPECT_EQ(node->value, 7);
        EXPECT_EQ(node->references(), 1u);
        EXPECT_TRUE(!Left::castdown(t_SmartPtr<ERObject>(node)));
        const t_SmartPtr<ERObject> lasting(node);
        const auto pointer = Node::castdown(lasting);  // of one that lives on, as ever
        static_assert(std::is_same_v<decltype(pointer), Node* const>);
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
    EXPECT_EQ(list->value, 2);
    EXPECT_EQ(list->references(), 1u);
}

}  // namespace
}  // namespace kerf
