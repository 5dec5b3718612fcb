"""Systems small enough to read: a state is `s` before a step and `t` after it."""

from functools import reduce
from operator import and_, or_

from checker import System


def same(s, t, names):
    """That a step leaves variables as they are."""
    return reduce(and_, (getattr(s, n) == getattr(t, n) for n in names.split()))


def either(*formulas):
    return reduce(or_, formulas)


def sorts(**names):
    """Sorts of variables, by lists of names: sorts(Int="x y", Bool="p")."""
    return {name: sort for sort, listed in names.items() for name in listed.split()}


SYSTEMS = [
    # Two counters in step: x, and y twice as fast. In the second one x may start again.
    System("counters in step", sorts(Int="x y"),
           lambda s: (s.x == 0) & (s.y == 0),
           lambda s, t: (t.x == s.x + 1) & (t.y == s.y + 2),
           lambda s: s.y > 2 * s.x),
    System("counters, one reset", sorts(Int="x y"),
           lambda s: (s.x == 0) & (s.y == 0),
           lambda s, t: (t.y == s.y + 2) & ((t.x == s.x + 1) | ((t.x == 0) & (s.x >= 3))),
           lambda s: s.y > 2 * s.x, safe=False),

    # Any even amount is added (`by` is chosen anew in each step): an odd one is never met.
    # Steps of 6 and -10 meet 8, though none of them alone does.
    System("parity", sorts(Int="x by"),
           lambda s: s.x == 0,
           lambda s, t: t.x == s.x + 2 * t.by,
           lambda s: s.x == 7),
    System("steps of 6 and -10", sorts(Int="x"),
           lambda s: s.x == 0,
           lambda s, t: (t.x == s.x + 6) | (t.x == s.x - 10),
           lambda s: s.x == 8, safe=False),

    # A buffer of 3 places; `put` and `taken` count what went in and out.
    System("bounded buffer", sorts(Int="put taken full"),
           lambda s: (s.put == 0) & (s.taken == 0) & (s.full == 0),
           lambda s, t: either(
               (s.full < 3) & (t.put == s.put + 1) & (t.full == s.full + 1) & same(s, t, "taken"),
               (s.full > 0) & (t.taken == s.taken + 1) & (t.full == s.full - 1)
               & same(s, t, "put")),
           lambda s: (s.put > s.taken + 3) | (s.taken > s.put)),
    System("buffer, two producers", sorts(Int="full seen", Bool="checked"),
           lambda s: (s.full == 0) & ~s.checked,
           lambda s, t: either(  # the second one checks, and puts later
               (s.full < 3) & (t.full == s.full + 1) & same(s, t, "checked seen"),
               (s.full < 3) & t.checked & (t.seen == s.full) & same(s, t, "full"),
               s.checked & (t.full == s.full + 1) & ~t.checked & same(s, t, "seen"),
               (s.full > 0) & (t.full == s.full - 1) & same(s, t, "checked seen")),
           lambda s: s.full > 3, safe=False),

    # The heating goes off from 22 degrees on, and on at 18 or below; a step changes at most one degree.
    System("thermostat", sorts(Real="heat", Bool="on"),
           lambda s: (s.heat >= 19) & (s.heat <= 21),
           lambda s, t: either(
               s.on & (t.heat >= s.heat) & (t.heat <= s.heat + 1),
               ~s.on & (t.heat <= s.heat) & (t.heat >= s.heat - 1)) & either(
               (t.heat >= 22) & ~t.on,
               (t.heat <= 18) & t.on,
               (t.heat > 18) & (t.heat < 22) & same(s, t, "on")),
           lambda s: (s.heat < 17) | (s.heat > 23)),
]


def moves(s, t, asks, uses, other_asks, yields, gives):
    """What a process may do in Peterson's protocol; yields(s) is that the turn is the
    other's, `gives` what asking makes of the turn."""
    stays = same(s, t, "turn")
    s_asks, s_uses = getattr(s, asks), getattr(s, uses)
    t_asks, t_uses = getattr(t, asks), getattr(t, uses)
    return either(~s_asks & t_asks & (t_uses == s_uses) & gives,
                  s_asks & (~getattr(s, other_asks) | ~yields(s)) & t_asks & t_uses & stays,
                  s_uses & ~t_asks & ~t_uses & stays)


def peterson(name, polite):
    """Who asks gives the turn to the other one; or, not polite, takes it."""
    def trans(s, t):
        left = moves(s, t, "ask_l", "use_l", "ask_r", lambda u: u.turn,
                     t.turn if polite else ~t.turn)
        right = moves(s, t, "ask_r", "use_r", "ask_l", lambda u: ~u.turn,
                      ~t.turn if polite else t.turn)
        return (left & same(s, t, "ask_r use_r")) | (right & same(s, t, "ask_l use_l"))

    return System(name, sorts(Bool="ask_l use_l ask_r use_r turn"),
                  lambda s: ~(s.ask_l | s.use_l | s.ask_r | s.use_r), trans,
                  lambda s: s.use_l & s.use_r, safe=polite)


def ring(size):
    """A token goes around; who has it may work, and keeps it while working."""
    has, works = ([f"{what}{i}" for i in range(size)] for what in ("has", "works"))

    def trans(s, t):
        steps = []
        for i in range(size):
            j = (i + 1) % size
            others = " ".join(n for k in range(size) if k != i for n in (has[k], works[k]))
            beyond = " ".join([has[k] for k in range(size) if k not in (i, j)] + works)
            steps.append(getattr(s, has[i]) & getattr(t, has[i]) & same(s, t, others))
            steps.append(getattr(s, has[i]) & ~getattr(s, works[i]) & ~getattr(t, has[i])
                         & getattr(t, has[j]) & same(s, t, beyond))
        return either(*steps)

    return System(
        f"token ring of {size}", sorts(Bool=" ".join(has + works)),
        lambda s: s.has0 & ~either(*(getattr(s, n) for n in has[1:] + works)),
        trans, lambda s: either(*(getattr(s, works[i]) & getattr(s, works[k])
                                  for i in range(size) for k in range(i))))


def tickets(s, t, drawn, place, other):
    """A process draws a ticket (place 1), is served (2), and leaves (0)."""
    at, number = getattr(s, place), getattr(s, drawn)
    to, kept = getattr(t, place), same(s, t, drawn)
    return same(s, t, other) & either(
        (at == 0) & (to == 1) & (getattr(t, drawn) == s.next) & (t.next == s.next + 1)
        & same(s, t, "served"),
        (at == 1) & (number == s.served) & (to == 2) & kept & same(s, t, "next served"),
        (at == 2) & (to == 0) & (t.served == s.served + 1) & kept & same(s, t, "next"))


def jugs(target):
    """Jugs of 3 and 5 litres, filled, emptied, and poured into each other."""
    def trans(s, t):
        return either(
            (t.three == 3) & same(s, t, "five"), (t.five == 5) & same(s, t, "three"),
            (t.three == 0) & same(s, t, "five"), (t.five == 0) & same(s, t, "three"),
            (t.three + t.five == s.three + s.five) & (t.three >= 0) & (t.five >= 0)
            & (t.three <= 3) & (t.five <= 5)
            & either(t.three == 0, t.five == 0, t.three == 3, t.five == 5))
    return System(f"jugs, {target} litres", sorts(Int="three five"),
                  lambda s: (s.three == 0) & (s.five == 0), trans,
                  lambda s: s.five == target, safe=target > 5)


SYSTEMS += [
    peterson("Peterson", polite=True), peterson("Peterson, impolite", polite=False),
    ring(3),
    System("tickets", sorts(Int="next served left right left_at right_at"),
           lambda s: (s.next == s.served) & (s.left_at == 0) & (s.right_at == 0),
           lambda s, t: tickets(s, t, "left", "left_at", "right right_at")
           | tickets(s, t, "right", "right_at", "left left_at"),
           lambda s: (s.left_at == 2) & (s.right_at == 2)),
    jugs(4),
    jugs(6),

    # A driver takes its lock, and works again while the list grew meanwhile:
    #     do { lock(); old := new; if (*) { unlock(); new := new + 1 } } while (new != old)
    System("two-phase lock", sorts(Bool="locked again", Int="old new"),
           lambda s: ~s.locked & s.again,
           lambda s, t: either(
               s.again & ~t.again & (t.old == s.new) & either(
                   t.locked & (t.new == s.new), ~t.locked & (t.new == s.new + 1)),
               ~s.again & (s.new != s.old) & t.again & same(s, t, "locked old new")),
           lambda s: (s.again & s.locked) | (~s.again & (s.new == s.old) & ~s.locked)),

    # Alternating bit: the sender repeats a message with its bit until the bit comes back. Both
    # channels may lose and repeat; `sent` and `got` count what is new.
    System("alternating bit", sorts(Bool="bit message want reply", Int="sent got"),
           lambda s: ~s.bit & s.message & ~s.want & s.reply & (s.sent == 0) & (s.got == 0),
           lambda s, t: either(
               (t.message == s.bit) & same(s, t, "bit want reply sent got"),
               (s.message == s.want) & (t.want == ~s.want) & (t.got == s.got + 1)
               & same(s, t, "bit message reply sent"),
               (t.reply == ~s.want) & same(s, t, "bit message want sent got"),
               (s.reply == s.bit) & (t.bit == ~s.bit) & (t.sent == s.sent + 1)
               & same(s, t, "message want reply got")),
           lambda s: (s.got < s.sent) | (s.got > s.sent + 1)),

    # Readers share a file, a writer is alone with it.
    System("readers and writer", sorts(Int="readers", Bool="writing"),
           lambda s: (s.readers == 0) & ~s.writing,
           lambda s, t: either(
               ~s.writing & (t.readers == s.readers + 1) & ~t.writing,
               (s.readers > 0) & (t.readers == s.readers - 1) & same(s, t, "writing"),
               (s.readers == 0) & t.writing & same(s, t, "readers"),
               ~t.writing & same(s, t, "readers")),
           lambda s: s.writing & (s.readers > 0)),
]
