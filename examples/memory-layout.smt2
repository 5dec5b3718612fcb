; Why a load never crosses a cache line.
;
;     struct record { u64 id; u64 key; u64 value; };      24 bytes, key at offset 8
;     record *r = aligned_alloc(16, ...);                 ... r[k].key ...
;
; The allocator, the compiler's layout and the processor each know a part. The allocator
; returns a multiple of 16. The layout puts the key of record k at base + 24*k + 8. The
; processor loads eight bytes, and that crosses a line of 64 bytes when the address modulo
; 64 is more than 56. Nobody says "multiple of 8" in this file; the interpolants of the
; sequence do: it is what the allocator must promise, and what the layout keeps.
;
; With a layout of 20 bytes a record (packed), the promise breaks; the model shows where.
(set-logic QF_LIA)
(set-option :produce-interpolants true)
(set-option :produce-models true)
(declare-fun base () Int)
(declare-fun chunk () Int)
(declare-fun k () Int)
(declare-fun address () Int)

(assert (! (and (>= base 4096) (= base (* 16 chunk))) :named allocator))
(assert (! (and (>= k 0) (> (mod address 64) 56)) :named crossing))
(push 1)
(assert (! (= address (+ base (* 24 k) 8)) :named layout))
(check-sat)
(get-interpolants allocator (and layout crossing))
(get-interpolants allocator layout crossing)
(pop 1)
(push 1)
(assert (! (and (<= k 100) (<= base 65536) (= address (+ base (* 20 k) 8))) :named packed))
(check-sat)
(get-value (base k address (mod address 64)))
(pop 1)
