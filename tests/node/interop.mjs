// SPDX-License-Identifier: MIT
// Lets a client that others wrote talk to the stand-in simulator. Usage: node interop.mjs PATH_OF_SIMULATOR
// Every step waits for its message; a step that does not come, or comes with other values, ends the run with code 1.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { createInterface } from 'node:readline';
import {
    EventFlag, InitPosition, open, Protocol, RawBuffer, SimConnectConstants, SimConnectDataType,
    SimConnectPeriod, SimObjectType,
} from 'node-simconnect';

const patienceMs = 10000;
const start = { lat: 50.0333, lon: 8.5706, elevation: 364 };
const title = 'Interop Airways A320';
const tail = 'DLH9LF';

const Event = { sim: 201, added: 202, removed: 203, frame: 204, nav: 207, beacon: 206, freeze: 214 };
const Definition = { position: 402, ground: 404, title: 407, lights: 406, user: 403 };
const Request = { range: 101, create: 104, remove: 105, title: 106, read: 120, lights: 121, user: 109, badCreate: 130 };
const group = 301;
const highestPriority = 1;

function startSimulator(program, msfs, reportFile, titlesFile) {
    const child = spawn(program, [
        '--port', '0', '--at', `${start.lat},${start.lon},${start.elevation},70`, '--msfs', msfs, '--titles', titlesFile,
        '--report', reportFile, '--minutes', '2',
    ], { stdio: ['ignore', 'pipe', 'inherit'] });
    const ended = new Promise((resolve) => child.once('exit', (code, signal) => resolve({ code, signal })));
    const port = new Promise((resolve, reject) => {
        child.once('error', reject);
        child.once('exit', () => reject(new Error('the simulator ended before it listened')));
        createInterface({ input: child.stdout }).on('line', (line) => {
            const match = /^simulator listening on port (\d+)$/.exec(line);
            if (match) resolve(Number(match[1]));
        });
    });
    return { child, ended, port };
}

/** Keeps every message, so that a step finds its own even when it came early. */
class Inbox {
    constructor(handle) {
        this.messages = [];
        this.waiting = [];
        for (const kind of ['event', 'eventFrame', 'eventAddRemove', 'assignedObjectID', 'simObjectData',
            'simObjectDataByType', 'exception', 'quit', 'close']) {
            handle.on(kind, (message) => this.take(kind, message));
        }
    }

    take(kind, message) {
        const entry = { kind, message };
        const at = this.waiting.findIndex((w) => w.kind === kind && w.test(message));
        if (at >= 0) this.waiting.splice(at, 1)[0].resolve(message);
        else this.messages.push(entry);
    }

    next(kind, what, test = () => true) {
        const at = this.messages.findIndex((m) => m.kind === kind && test(m.message));
        if (at >= 0) return Promise.resolve(this.messages.splice(at, 1)[0].message);
        return new Promise((resolve, reject) => {
            const timer = setTimeout(() => reject(new Error(`no ${kind}: ${what}`)), patienceMs);
            this.waiting.push({ kind, test, resolve: (m) => { clearTimeout(timer); resolve(m); } });
        });
    }

    count(kind) {
        return this.messages.filter((m) => m.kind === kind).length;
    }
}

function near(actual, expected, tolerance, what) {
    assert.ok(Math.abs(actual - expected) <= tolerance, `${what}: ${actual} is not ${expected}`);
}

function declare(handle) {
    const { FLOAT64, INT64, STRING32, STRINGV } = SimConnectDataType;
    handle.addToDataDefinition(Definition.title, 'TITLE', null, STRINGV);
    for (const [datum, unit] of [
        ['Plane Latitude', 'degree'], ['Plane Longitude', 'degree'], ['Plane Pitch degrees', 'radians'],
        ['Plane Bank degrees', 'radians'], ['Plane Heading degrees true', 'radians'], ['Plane Altitude', 'feet'],
        ['Vertical Speed', 'feet per second'], ['Airspeed True', 'knots'],
    ]) handle.addToDataDefinition(Definition.position, datum, unit, FLOAT64);
    handle.addToDataDefinition(Definition.ground, 'Plane Alt Above Ground', 'feet', FLOAT64);
    handle.addToDataDefinition(Definition.ground, 'Ground Altitude', 'feet', FLOAT64);
    handle.addToDataDefinition(Definition.ground, 'SIM ON GROUND', 'Bool', INT64);
    handle.addToDataDefinition(Definition.ground, 'ATC ID', null, STRING32);
    handle.addToDataDefinition(Definition.lights, 'Light On States', 'Mask', INT64);
    handle.addToDataDefinition(Definition.user, 'ZULU YEAR', 'Number', INT64);
    handle.addToDataDefinition(Definition.user, 'Plane Alt Above Ground', 'meters', FLOAT64);

    handle.mapClientEventToSimEvent(Event.nav, 'NAV_LIGHTS_SET');
    handle.mapClientEventToSimEvent(Event.beacon, 'BEACON_LIGHTS_SET');
    handle.mapClientEventToSimEvent(Event.freeze, 'FREEZE_LATITUDE_LONGITUDE_SET');
    for (const id of [Event.nav, Event.beacon, Event.freeze]) handle.addClientEventToNotificationGroup(group, id, true);
    handle.setNotificationGroupPriority(group, highestPriority);
}

function initialPosition() {
    const position = new InitPosition();
    Object.assign(position, {
        latitude: start.lat + 0.01, longitude: start.lon, altitude: start.elevation, pitch: 0, bank: 0, heading: 250,
        onGround: true, airspeed: 0,
    });
    return position;
}

async function createAndSee(handle, inbox) {
    const sendId = handle.aICreateNonATCAircraft(title, tail, initialPosition(), Request.create);
    const assigned = await inbox.next('assignedObjectID', 'the new object', (m) => m.requestID === Request.create);
    const added = await inbox.next('eventAddRemove', 'ObjectAdded', (m) => m.clientEventId === Event.added);
    assert.equal(added.data, assigned.objectID);
    assert.equal(added.type, SimObjectType.AIRCRAFT);
    assert.equal(inbox.count('exception'), 0, `create ${sendId} brought an exception`);
    return assigned.objectID;
}

async function rangeOf(handle, inbox) {
    handle.requestDataOnSimObjectType(Request.range, Definition.ground, 20000, SimObjectType.AIRCRAFT);
    const replies = [];
    do {
        replies.push(await inbox.next('simObjectDataByType', 'range reply', (m) => m.requestID === Request.range));
        assert.equal(replies.at(-1).entryNumber, replies.length);
    } while (replies.length < replies[0].outOf);
    return replies.map(({ objectID, data }) => ({
        objectID, above: data.readFloat64(), ground: data.readFloat64(), onGround: data.readInt64(), tail: data.readString32(),
    }));
}

async function moveAndReadBack(handle, inbox, object) {
    const before = (await rangeOf(handle, inbox)).find((r) => r.objectID === object);
    assert.equal(before.tail, tail);
    assert.equal(Number(before.onGround), 1);
    near(before.ground, start.elevation, 0.01, 'ground below the object');
    assert.ok(before.above >= 3 && before.above <= 17.5, `static height ${before.above}`);

    const pose = [start.lat + 0.05, start.lon - 0.05, -0.05, 0.1, 4.25, 2345.5, -8.5, 161.25];
    const buffer = new RawBuffer(64);
    for (const value of pose) buffer.writeFloat64(value);
    handle.transmitClientEvent(object, Event.freeze, 1, group, EventFlag.EVENT_FLAG_DEFAULT);
    handle.setDataOnSimObject(Definition.position, object, { buffer, arrayCount: 1, tagged: false });

    handle.requestDataOnSimObject(Request.read, Definition.position, object, SimConnectPeriod.ONCE);
    const reply = await inbox.next('simObjectData', 'pose', (m) => m.requestID === Request.read);
    assert.equal(reply.objectID, object);
    assert.equal(reply.defineID, Definition.position);
    // The altitude is not frozen, so the object sinks for as many frames as it takes to answer.
    const tolerances = [1e-9, 1e-9, 1e-9, 1e-9, 1e-9, 8.5, 1e-9, 1e-9];
    pose.forEach((value, i) => near(reply.data.readFloat64(), value, tolerances[i], `value ${i} of the pose`));

    const after = (await rangeOf(handle, inbox)).find((r) => r.objectID === object);
    assert.equal(Number(after.onGround), 0);
    near(after.above + after.ground, 2345.5, 40, 'altitude from height and ground');
}

async function lightsReach(handle, inbox, object) {
    handle.transmitClientEvent(object, Event.nav, 1, group, EventFlag.EVENT_FLAG_DEFAULT);
    handle.transmitClientEvent(object, Event.beacon, 1, highestPriority, EventFlag.EVENT_FLAG_GROUPID_IS_PRIORITY);
    handle.requestDataOnSimObject(Request.lights, Definition.lights, object, SimConnectPeriod.ONCE);
    const reply = await inbox.next('simObjectData', 'lights', (m) => m.requestID === Request.lights);
    assert.equal(Number(reply.data.readInt64()), 3);
}

async function userIsThere(handle, inbox) {
    handle.requestDataOnSimObject(Request.user, Definition.user, SimConnectConstants.OBJECT_ID_USER, SimConnectPeriod.SECOND);
    for (let i = 0; i < 2; ++i) {
        const reply = await inbox.next('simObjectData', 'user each second', (m) => m.requestID === Request.user);
        near(Number(reply.data.readInt64()), new Date().getUTCFullYear(), 1, 'year');
        const metres = reply.data.readFloat64();
        assert.ok(metres > 0.9 && metres < 5.5, `user stands ${metres} m above the ground`);
    }
    handle.requestDataOnSimObject(Request.title, Definition.title, SimConnectConstants.OBJECT_ID_USER, SimConnectPeriod.ONCE);
    const reply = await inbox.next('simObjectData', 'title', (m) => m.requestID === Request.title);
    assert.equal(reply.data.readStringV(), 'Kestrelune Test Aircraft');
}

async function refusals(handle, inbox) {
    const create = handle.aICreateNonATCAircraft('No Such Aircraft', 'X', initialPosition(), Request.badCreate);
    const noTitle = await inbox.next('exception', 'unknown title', (m) => m.exception === 22);
    assert.equal(noTitle.sendId, create);
    const datum = handle.addToDataDefinition(999, 'No Such Datum', 'feet', SimConnectDataType.FLOAT64);
    const noDatum = await inbox.next('exception', 'unknown datum', (m) => m.exception === 7);
    assert.equal(noDatum.sendId, datum);
    assert.notEqual(datum, create);
    const remove = handle.aIRemoveObject(4711, Request.remove);
    const noObject = await inbox.next('exception', 'unknown object', (m) => m.exception === 3);
    assert.equal(noObject.sendId, remove);
}

async function converse(port, protocol, name) {
    const { recvOpen, handle } = await open('Interop', protocol, { remote: { host: '127.0.0.1', port } });
    const inbox = new Inbox(handle);
    handle.on('error', (error) => { throw error; });
    assert.equal(recvOpen.applicationName, name);
    assert.equal(recvOpen.applicationVersionMajor, name === 'KittyHawk' ? 11 : 12);

    handle.subscribeToSystemEvent(Event.sim, 'Sim');
    handle.subscribeToSystemEvent(Event.added, 'ObjectAdded');
    handle.subscribeToSystemEvent(Event.removed, 'ObjectRemoved');
    const running = await inbox.next('event', 'Sim', (m) => m.clientEventId === Event.sim);
    assert.equal(running.data, 1);
    declare(handle);

    const object = await createAndSee(handle, inbox);
    await moveAndReadBack(handle, inbox, object);
    await lightsReach(handle, inbox, object);
    await userIsThere(handle, inbox);
    assert.equal(inbox.count('exception'), 0);
    await refusals(handle, inbox);

    handle.aIRemoveObject(object, Request.remove);
    const removed = await inbox.next('eventAddRemove', 'ObjectRemoved', (m) => m.clientEventId === Event.removed);
    assert.equal(removed.data, object);
    assert.ok(!(await rangeOf(handle, inbox)).some((r) => r.objectID === object));

    handle.subscribeToSystemEvent(Event.frame, 'Frame');
    for (let i = 0; i < 10; ++i) {
        const frame = await inbox.next('eventFrame', 'frame', (m) => m.clientEventId === Event.frame);
        assert.equal(frame.frameRate, 30);
        assert.equal(frame.simSpeed, 1);
    }
    assert.equal(inbox.count('exception'), 0);
    return inbox;
}

async function run(program, folder, { protocol, msfs, name }) {
    const reportFile = path.join(folder, `report-${protocol}.json`);
    const titlesFile = path.join(folder, 'titles.txt');
    writeFileSync(titlesFile, `# installed\n${title}\n`);
    const simulator = startSimulator(program, msfs, reportFile, titlesFile);
    try {
        const inbox = await converse(await simulator.port, protocol, name);
        simulator.child.kill('SIGTERM');
        await inbox.next('quit', 'QUIT at the end');
        await inbox.next('close', 'end of the stream');
        assert.deepEqual(await simulator.ended, { code: 0, signal: null });
    } finally {
        simulator.child.kill('SIGKILL');
    }
    const report = JSON.parse(readFileSync(reportFile, 'utf8'));
    assert.equal(report.objectsCreated, 1);
    assert.equal(report.objectsRemoved, 1);
    assert.equal(report.positionRecords, 1);
    assert.equal(report.refusedCreates, 1);
    assert.equal(report.clients, 1);
    assert.deepEqual(report.exceptions, { 3: 1, 7: 1, 22: 1 });
    assert.deepEqual(report.events, { BEACON_LIGHTS_SET: 1, FREEZE_LATITUDE_LONGITUDE_SET: 1, NAV_LIGHTS_SET: 1 });
    console.log(`protocol ${protocol}, MSFS ${msfs}: ok`);
}

const program = process.argv[2];
if (!program) {
    console.error('usage: node interop.mjs PATH_OF_SIMULATOR');
    process.exit(2);
}
const folder = mkdtempSync(path.join(tmpdir(), 'interop-'));
try {
    await run(program, folder, { protocol: Protocol.FSX_SP2, msfs: '2020', name: 'KittyHawk' });
    await run(program, folder, { protocol: Protocol.KittyHawk, msfs: '2020', name: 'KittyHawk' });
    await run(program, folder, { protocol: Protocol.SunRise, msfs: '2024', name: 'SunRise' });
} finally {
    rmSync(folder, { recursive: true, force: true });
}
process.exit(0);
