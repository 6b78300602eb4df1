// The part of a wide deformation body that does not depend on its width, included once per
// instruction set inside that set's namespace and target region. The includer provides:
//   W (vertices per block), V (register type), fmadd, fmsub, mul, div, one,
//   loadXyz(src, V[3]) and storeXyz<Stream>(dst, const V[3]) for W xyz triples,
//   blendTransposed(indices, weights, matrices, V[16]): the W blended matrices as element
//   registers, e[4c + r] = column c, row r (the fourth rows need not be filled).
//
// Per vertex, with the blended columns c0, c1, c2 (upper 3x3) and c3 (translation):
//   position  ((c3 + c0 px) + c1 py) + c2 pz, each step one fused multiply-add
//   cofactors x12 = c1 x c2, x20 = c2 x c0, x01 = c0 x c1, each component fms(a, b, c d)
//   det       (c0.x x12.x + c0.y x12.y) + c0.z x12.z, fused steps
//   normal    ((x12 nx + x20 ny) + x01 nz) * (1 / det), the reciprocal an exact division

SKSKIN_INLINE void cross(const V *a, const V *b, V *r)
{
    r[0] = fmsub(a[1], b[2], mul(a[2], b[1]));
    r[1] = fmsub(a[2], b[0], mul(a[0], b[2]));
    r[2] = fmsub(a[0], b[1], mul(a[1], b[0]));
}

template <bool Normals, bool Stream>
SKSKIN_INLINE void block(const float *pos, const float *nor, const int32_t *idx, const float *w,
           const float *mats, float *outPos, float *outNor)
{
    V e[16], p[3], q[3];
    blendTransposed(idx, w, mats, e);
    loadXyz(pos, p);
    SKSKIN_UNROLL
    for(int r = 0; r < 3; ++r)
        q[r] = fmadd(e[8 + r], p[2], fmadd(e[4 + r], p[1], fmadd(e[r], p[0], e[12 + r])));
    storeXyz<Stream>(outPos, q);
    if(!Normals)
        return;
    V n[3], x12[3], x20[3], x01[3], o[3];
    loadXyz(nor, n);
    const V *c0 = e, *c1 = e + 4, *c2 = e + 8;
    cross(c1, c2, x12);
    cross(c2, c0, x20);
    cross(c0, c1, x01);
    const V det = fmadd(c0[2], x12[2], fmadd(c0[1], x12[1], mul(c0[0], x12[0])));
    const V inv = div(one(), det);
    SKSKIN_UNROLL
    for(int r = 0; r < 3; ++r)
        o[r] = mul(fmadd(x01[r], n[2], fmadd(x20[r], n[1], mul(x12[r], n[0]))), inv);
    storeXyz<Stream>(outNor, o);
}

template <bool Normals, bool Stream>
void range(const Arrays &a, std::size_t begin, std::size_t end)
{
    std::size_t v = begin;
    if(Stream)
    {
        // Whole blocks then store whole aligned output lines.
        std::size_t head = (begin + W - 1) / W * W;
        head = head < end ? head : end;
        if(head > v)
            PaddedBlock<W>::run(a, v, head - v, &block<Normals, false>);
        v = head;
    }
    for(; v + W <= end; v += W)
        block<Normals, Stream>(a.positions + 3 * v, Normals ? a.normals + 3 * v : nullptr,
                               a.indices + 4 * v, a.weights + 4 * v, a.matrices,
                               a.outPositions + 3 * v, Normals ? a.outNormals + 3 * v : nullptr);
    if(v < end)
        PaddedBlock<W>::run(a, v, end - v, &block<Normals, false>);
    if(Stream)
        _mm_sfence();   // the streamed lines are visible before the task reports completion
}

void rangeAny(const Arrays &a, std::size_t begin, std::size_t end)
{
    if(a.normals != nullptr)
        a.stream ? range<true, true>(a, begin, end) : range<true, false>(a, begin, end);
    else
        a.stream ? range<false, true>(a, begin, end) : range<false, false>(a, begin, end);
}
