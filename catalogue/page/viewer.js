// A view of a mesh that the user turns and zooms: with WebGL, otherwise on a plain canvas with sorted triangles.

const Ground = [0.965, 0.969, 0.976]; // --picture of the page
const Color = [0.49, 0.59, 0.71];
const Ambient = 0.35;
const NearestZoom = 12;
const FarthestZoom = 0.5;
const KeyTurn = 10; // degrees
const PointerTurn = 0.5; // degrees a pixel
const KeyZoom = 1.2;
/// More are too slow to sort for each picture.
const MostSorted = 150000;

/// The axes of the view in the space of the mesh: to the right, up, and towards the eye. z is up at first.
function axesOf({turn, tilt}) {
    const [a, b] = [turn, tilt].map((degrees) => degrees * Math.PI / 180);
    const [ca, sa, cb, sb] = [Math.cos(a), Math.sin(a), Math.cos(b), Math.sin(b)];
    return [[ca, sa, 0], [-sa * sb, ca * sb, cb], [sa * cb, -ca * cb, sb]];
}

// ---------------------------------------------------------------------------------------------
// WebGL

const VertexShader = `#version 300 es
in vec3 place;
in vec3 normal;
uniform mat3 axes;
uniform vec3 middle;
uniform vec3 scale;
out float light;
void main() {
    gl_Position = vec4(axes * (place - middle) * scale, 1.0);
    vec3 seen = axes * normal;
    light = ${Ambient.toFixed(2)} + ${(1 - Ambient).toFixed(2)} * abs(dot(seen, normalize(vec3(-0.3, 0.4, 1.0))));
}`;
const FragmentShader = `#version 300 es
precision mediump float;
in float light;
out vec4 color;
void main() { color = vec4(vec3(${Color.join()}) * light * 1.25, 1.0); }`;

function makeProgram(gl) {
    const program = gl.createProgram();
    for (const [type, source] of [[gl.VERTEX_SHADER, VertexShader], [gl.FRAGMENT_SHADER, FragmentShader]]) {
        const shader = gl.createShader(type);
        gl.shaderSource(shader, source);
        gl.compileShader(shader);
        gl.attachShader(program, shader);
    }
    gl.linkProgram(program);
    return gl.getProgramParameter(program, gl.LINK_STATUS) ? program : null;
}

/// A function that draws, or null without WebGL.
function makeGlPainter(canvas, mesh) {
    const gl = canvas.getContext("webgl2", {antialias: true});
    const program = gl && makeProgram(gl);
    if (!program)
        return null;
    for (const [name, values] of [["place", mesh.positions], ["normal", mesh.normals]]) {
        const place = gl.getAttribLocation(program, name);
        gl.bindBuffer(gl.ARRAY_BUFFER, gl.createBuffer());
        gl.bufferData(gl.ARRAY_BUFFER, values, gl.STATIC_DRAW);
        gl.enableVertexAttribArray(place);
        gl.vertexAttribPointer(place, 3, gl.FLOAT, false, 0, 0);
    }
    gl.bindBuffer(gl.ELEMENT_ARRAY_BUFFER, gl.createBuffer());
    gl.bufferData(gl.ELEMENT_ARRAY_BUFFER, mesh.triangles, gl.STATIC_DRAW);
    gl.useProgram(program);
    gl.enable(gl.DEPTH_TEST);
    gl.clearColor(...Ground, 1);
    const uniform = (name) => gl.getUniformLocation(program, name);
    gl.uniform3fv(uniform("middle"), mesh.middle);
    const places = {axes: uniform("axes"), scale: uniform("scale")};
    return {
        name: "webgl",
        draw(view, scale) {
            const [right, up, toward] = axesOf(view);
            gl.viewport(0, 0, canvas.width, canvas.height);
            gl.clear(gl.COLOR_BUFFER_BIT | gl.DEPTH_BUFFER_BIT);
            gl.uniformMatrix3fv(places.axes, false, [0, 1, 2].flatMap((axis) => [right[axis], up[axis], toward[axis]]));
            gl.uniform3f(places.scale, 2 * scale / canvas.width, 2 * scale / canvas.height, -0.9 / mesh.radius);
            gl.drawElements(gl.TRIANGLES, mesh.triangles.length, gl.UNSIGNED_INT, 0);
        },
        end() { gl.getExtension("WEBGL_lose_context")?.loseContext(); },
    };
}

// ---------------------------------------------------------------------------------------------
// A plain canvas

function makePlainPainter(canvas, mesh) {
    const context = canvas.getContext("2d");
    const count = mesh.triangles.length / 3;
    if (!context || count > MostSorted)
        return null;
    const seen = new Float32Array(mesh.positions.length);
    const depths = new Float32Array(count);
    const order = new Uint32Array(count);
    const css = (color, light) => `rgb(${color.map((part) => Math.min(255, Math.round(255 * part * light))).join()})`;
    const shades = Array.from({length: 65}, (_, step) => css(Color, 1.25 * (Ambient + (1 - Ambient) * step / 64)));
    return {
        name: "plain",
        draw(view, scale) {
            const [right, up, toward] = axesOf(view);
            const {positions, triangles, middle} = mesh;
            for (let i = 0; i < positions.length; i += 3) {
                const x = positions[i] - middle[0], y = positions[i + 1] - middle[1], z = positions[i + 2] - middle[2];
                seen[i] = canvas.width / 2 + scale * (right[0] * x + right[1] * y + right[2] * z);
                seen[i + 1] = canvas.height / 2 - scale * (up[0] * x + up[1] * y + up[2] * z);
                seen[i + 2] = scale * (toward[0] * x + toward[1] * y + toward[2] * z);
            }
            let drawn = 0;
            for (let t = 0; t < count; ++t) {
                const a = 3 * triangles[3 * t], b = 3 * triangles[3 * t + 1], c = 3 * triangles[3 * t + 2];
                // The y axis of the canvas points down, so that what faces the eye runs clockwise there.
                if ((seen[b] - seen[a]) * (seen[c + 1] - seen[a + 1]) >= (seen[b + 1] - seen[a + 1]) * (seen[c] - seen[a]))
                    continue;
                depths[t] = seen[a + 2] + seen[b + 2] + seen[c + 2];
                order[drawn++] = t;
            }
            // Where the light comes from, in the space of the mesh, for the sum of three normals.
            const source = [0, 1, 2].map((axis) => (-0.27 * right[axis] + 0.36 * up[axis] + 0.89 * toward[axis]) / 3);
            const {normals} = mesh;
            context.fillStyle = css(Ground, 1);
            context.fillRect(0, 0, canvas.width, canvas.height);
            context.lineWidth = 0.7;
            for (const t of order.subarray(0, drawn).sort((one, other) => depths[one] - depths[other])) {
                const a = 3 * triangles[3 * t], b = 3 * triangles[3 * t + 1], c = 3 * triangles[3 * t + 2];
                let light = 0;
                for (let axis = 0; axis < 3; ++axis)
                    light += source[axis] * (normals[a + axis] + normals[b + axis] + normals[c + axis]);
                context.fillStyle = context.strokeStyle = shades[Math.min(64, Math.round(64 * Math.abs(light)))];
                context.beginPath();
                context.moveTo(seen[a], seen[a + 1]);
                context.lineTo(seen[b], seen[b + 1]);
                context.lineTo(seen[c], seen[c + 1]);
                context.closePath();
                context.fill();
                context.stroke(); // over the seams between triangles
            }
        },
        end() {},
    };
}

// ---------------------------------------------------------------------------------------------
// The view

const Keys = {
    ArrowLeft: {turn: KeyTurn}, ArrowRight: {turn: -KeyTurn}, ArrowUp: {tilt: -KeyTurn}, ArrowDown: {tilt: KeyTurn},
    "+": {zoom: KeyZoom}, "=": {zoom: KeyZoom}, "-": {zoom: 1 / KeyZoom},
};

/// Shows `mesh` on `canvas` until `signal` aborts. False when it cannot be shown. `lost` is called when it cannot be
/// shown any longer.
export function showMesh(canvas, mesh, signal, lost) {
    const middle = mesh.lowest.map((low, axis) => (low + mesh.highest[axis]) / 2);
    const radius = Math.hypot(...mesh.lowest.map((low, axis) => mesh.highest[axis] - low)) / 2 || 1;
    const body = {...mesh, middle, radius};
    const painter = makeGlPainter(canvas, body) ?? makePlainPainter(canvas, body);
    if (!painter)
        return false;

    const view = {turn: -35, tilt: 25, zoom: 1};
    let asked = 0;
    const draw = () => {
        asked = 0;
        const scale = 0.47 * Math.min(canvas.width, canvas.height) / radius * view.zoom;
        painter.draw(view, scale);
        canvas.dataset.view = [view.turn, view.tilt].map(Math.round).join() + `,${view.zoom.toFixed(2)}`;
    };
    const redraw = () => { asked ||= requestAnimationFrame(draw); };
    const change = ({turn = 0, tilt = 0, zoom = 1}) => {
        const before = {...view};
        view.turn = (view.turn + turn) % 360;
        view.tilt = Math.max(-90, Math.min(90, view.tilt + tilt));
        view.zoom = Math.max(FarthestZoom, Math.min(NearestZoom, view.zoom * zoom));
        redraw();
        return view.zoom !== before.zoom;
    };
    const listen = (name, hear, options = {}) => canvas.addEventListener(name, hear, {signal, ...options});

    listen("keydown", (event) => {
        if (!Object.hasOwn(Keys, event.key) || event.ctrlKey || event.altKey || event.metaKey)
            return;
        change(Keys[event.key]);
        event.preventDefault();
    });
    listen("pointerdown", (event) => canvas.setPointerCapture(event.pointerId));
    listen("pointermove", (event) => {
        if (event.buttons === 1)
            change({turn: -PointerTurn * event.movementX, tilt: PointerTurn * event.movementY});
    });
    // At the end of the zoom the page scrolls on.
    listen("wheel", (event) => {
        if (change({zoom: Math.exp(-Math.max(-200, Math.min(200, event.deltaY)) / 400)}))
            event.preventDefault();
    }, {passive: false});
    listen("webglcontextlost", lost);

    const sizes = new ResizeObserver(() => {
        const ratio = Math.min(2, devicePixelRatio || 1);
        canvas.width = Math.max(1, Math.round(canvas.clientWidth * ratio));
        canvas.height = Math.max(1, Math.round(canvas.clientHeight * ratio));
        draw();
    });
    sizes.observe(canvas);
    signal.addEventListener("abort", () => {
        sizes.disconnect();
        cancelAnimationFrame(asked);
        painter.end();
    });
    canvas.dataset.painter = painter.name;
    return true;
}
