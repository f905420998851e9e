// Light representations: what docs/light-representation.md says, and nothing else.

const HeaderSize = 44;
const Mark = 0x52564c5a; // "ZLVR"
/// More of either is more than a page can show.
const MostVertices = 2000000;
const MostTriangles = 2000000;
const FarthestCoordinate = 1e9;
const NormalTolerance = 0.0011; // of the square of the length; a little more than allowed, for the rounding here

/// The mesh in `buffer`: {positions, normals, triangles, lowest, highest}, or null for what is none.
export function parseShape(buffer) {
    if (buffer.byteLength < HeaderSize)
        return null;
    const view = new DataView(buffer);
    const [mark, version, unit, vertices, triangles] = [0, 4, 8, 12, 16].map((place) => view.getUint32(place, true));
    const colors = version === 2 ? 4 * triangles : 0; // of triangles; they are not shown
    if (mark !== Mark || version < 1 || version > 2 || unit !== 1 || vertices < 1 || vertices > MostVertices || triangles < 1 ||
        triangles > MostTriangles || buffer.byteLength !== HeaderSize + 24 * vertices + 12 * triangles + colors)
        return null;

    const box = new Float32Array(buffer, 20, 6);
    const mesh = {
        positions: new Float32Array(buffer, HeaderSize, 3 * vertices),
        normals: new Float32Array(buffer, HeaderSize + 12 * vertices, 3 * vertices),
        triangles: new Uint32Array(buffer, HeaderSize + 24 * vertices, 3 * triangles),
        lowest: [...box.subarray(0, 3)],
        highest: [...box.subarray(3)],
    };
    return isSound(mesh, vertices) ? mesh : null;
}

function isSound({positions, normals, triangles, lowest, highest}, vertices) {
    const low = [Infinity, Infinity, Infinity];
    const high = [-Infinity, -Infinity, -Infinity];
    for (let i = 0; i < positions.length; ++i) {
        const value = positions[i];
        if (!(Math.abs(value) <= FarthestCoordinate))
            return false;
        const axis = i % 3;
        low[axis] = Math.min(low[axis], value);
        high[axis] = Math.max(high[axis], value);
    }
    // With + 0, because 0 and -0 are the same.
    if (low.some((value, axis) => value + 0 !== lowest[axis] + 0) ||
        high.some((value, axis) => value + 0 !== highest[axis] + 0))
        return false;
    for (let i = 0; i < normals.length; i += 3) {
        const square = normals[i] ** 2 + normals[i + 1] ** 2 + normals[i + 2] ** 2;
        if (!(Math.abs(square - 1) <= NormalTolerance))
            return false;
    }
    return triangles.every((corner) => corner < vertices);
}
