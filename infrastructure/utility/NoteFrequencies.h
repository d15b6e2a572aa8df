// Frequencies of the notes from C 3 to C 7 in equal temperament, A 4 at 440 Hz (ISO 16).
#pragma once

#include <QStringView>

#include <array>
#include <optional>

/// A note's name, such as u"C♯/D♭ 3", and its frequency in hertz, rounded to three decimals.
struct NoteFrequency
{
    char16_t name[8];
    double hz;
};

/// All notes, lowest first.
inline constexpr std::array<NoteFrequency, 49> NOTE_FREQUENCIES{{
    {u"C 3", 130.813},      {u"C♯/D♭ 3", 138.591},  {u"D 3", 146.832},      {u"D♯/E♭ 3", 155.563},
    {u"E 3", 164.814},      {u"F 3", 174.614},      {u"F♯/G♭ 3", 184.997},  {u"G 3", 195.998},
    {u"G♯/A♭ 3", 207.652},  {u"A 3", 220.000},      {u"A♯/B♭ 3", 233.082},  {u"B 3", 246.942},
    {u"C 4", 261.626},      {u"C♯/D♭ 4", 277.183},  {u"D 4", 293.665},      {u"D♯/E♭ 4", 311.127},
    {u"E 4", 329.628},      {u"F 4", 349.228},      {u"F♯/G♭ 4", 369.994},  {u"G 4", 391.995},
    {u"G♯/A♭ 4", 415.305},  {u"A 4", 440.000},      {u"A♯/B♭ 4", 466.164},  {u"B 4", 493.883},
    {u"C 5", 523.251},      {u"C♯/D♭ 5", 554.365},  {u"D 5", 587.330},      {u"D♯/E♭ 5", 622.254},
    {u"E 5", 659.255},      {u"F 5", 698.456},      {u"F♯/G♭ 5", 739.989},  {u"G 5", 783.991},
    {u"G♯/A♭ 5", 830.609},  {u"A 5", 880.000},      {u"A♯/B♭ 5", 932.328},  {u"B 5", 987.767},
    {u"C 6", 1046.502},     {u"C♯/D♭ 6", 1108.731}, {u"D 6", 1174.659},     {u"D♯/E♭ 6", 1244.508},
    {u"E 6", 1318.510},     {u"F 6", 1396.913},     {u"F♯/G♭ 6", 1479.978}, {u"G 6", 1567.982},
    {u"G♯/A♭ 6", 1661.219}, {u"A 6", 1760.000},     {u"A♯/B♭ 6", 1864.655}, {u"B 6", 1975.533},
    {u"C 7", 2093.005},
}};

/// The frequency in hertz of the note with this name; nothing if the table has no such note.
std::optional<double> getNoteFrequency(QStringView name);
